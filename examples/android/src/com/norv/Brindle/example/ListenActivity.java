package com.norv.Brindle.example;

import android.Manifest;
import android.app.Activity;
import android.content.pm.PackageManager;
import android.os.Bundle;
import android.widget.TextView;

/** Shows how long the last utterance was. Listens while it is on screen and has permission to record. */
public final class ListenActivity extends Activity implements Microphone.Listener {
  private static final int REQUEST = 1;

  private TextView text;
  private Microphone microphone;

  @Override
  protected void onCreate(Bundle state) {
    super.onCreate(state);
    text = new TextView(this);
    setContentView(text);
    if (!mayRecord()) requestPermissions(new String[] {Manifest.permission.RECORD_AUDIO}, REQUEST);
  }

  @Override
  protected void onStart() {
    super.onStart();
    listen();
  }

  @Override
  protected void onStop() {
    if (microphone != null) microphone.close();
    microphone = null;
    super.onStop();
  }

  @Override
  public void onRequestPermissionsResult(int request, String[] permissions, int[] results) {
    if (mayRecord()) {
      listen();
    } else {
      text.setText("Without the microphone there is nothing to hear.");
    }
  }

  private boolean mayRecord() {
    return checkSelfPermission(Manifest.permission.RECORD_AUDIO) == PackageManager.PERMISSION_GRANTED;
  }

  private void listen() {
    if (microphone != null || !mayRecord()) return;
    microphone = new Microphone(this);
    microphone.start();
    text.setText("Say something.");
  }

  @Override
  public void onUtterance(final short[] samples, final double seconds) {
    runOnUiThread(() -> text.setText(String.format("%.1f s of speech in %d samples", seconds, samples.length)));
  }

  @Override
  public void onFailure(final String reason) {
    runOnUiThread(() -> text.setText(reason));
  }
}
