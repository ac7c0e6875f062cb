package android.app;

public class Activity extends android.content.Context {
  protected void onCreate(android.os.Bundle state) {}

  protected void onStart() {}

  protected void onStop() {}

  public void setContentView(android.view.View view) {}

  public final void requestPermissions(String[] permissions, int requestCode) {}

  public void onRequestPermissionsResult(int requestCode, String[] permissions, int[] grantResults) {}

  public final void runOnUiThread(Runnable action) {}

  @Override
  public int checkSelfPermission(String permission) {
    return 0;
  }
}
