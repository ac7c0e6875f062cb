package com.norv.Brindle.sample;

import java.io.File;
import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.List;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;
import javax.sound.sampled.AudioSystem;
import javax.sound.sampled.LineUnavailableException;
import javax.sound.sampled.TargetDataLine;
import javax.sound.sampled.UnsupportedAudioFileException;

/**
 * Finds the utterances of a recording or of the microphone, writes each as raw samples and as packets, decodes the
 * packets again and reports how close they are.
 */
public final class Main {
  private static final float MICROPHONE_RATE = 16000;

  private Main() {}

  /**
   * Runs the sample.
   *
   * @param args the folder for the results, then a WAV file or {@code --microphone SECONDS}
   */
  public static void main(String[] args) {
    boolean microphone = args.length == 3 && args[1].equals("--microphone");
    if (args.length != 2 && !microphone) {
      System.err.println("usage: Main FOLDER FILE.wav | Main FOLDER --microphone SECONDS");
      System.exit(2);
    }
    try (AudioInputStream sound = microphone ? microphone(Integer.parseInt(args[2])) : file(args[1])) {
      report(new Listener((int) sound.getFormat().getSampleRate()).listen(sound), Paths.get(args[0]));
    } catch (IOException | UnsupportedAudioFileException | LineUnavailableException | RuntimeException e) {
      System.err.println("sample: " + e.getMessage());
      System.exit(1);
    }
  }

  private static void report(List<short[]> utterances, Path folder) throws IOException {
    Files.createDirectories(folder);
    for (int k = 0; k < utterances.size(); k++) {
      short[] samples = utterances.get(k);
      ByteBuffer raw = ByteBuffer.allocate(2 * samples.length).order(ByteOrder.LITTLE_ENDIAN);
      raw.asShortBuffer().put(samples);
      byte[] packets = Packets.encode(samples);
      String name = "utterance-" + (k + 1);
      Files.write(folder.resolve(name + ".raw"), raw.array());
      Files.write(folder.resolve(name + ".packets"), packets);
      Listener.print("utterance %d: %d bytes as samples, %d as packets, which come back with an SNR of %.1f dB\n",
          k + 1, raw.capacity(), packets.length, snrDb(samples, Packets.decode(packets)));
    }
    Listener.print("%d utterances written to %s\n", utterances.size(), folder);
  }

  /** How far the codec's noise is below the signal, in dB. The last packet may extend beyond the samples. */
  private static double snrDb(short[] samples, short[] decoded) {
    double signal = 0;
    double noise = 0;
    for (int i = 0; i < samples.length; i++) {
      signal += (double) samples[i] * samples[i];
      noise += Math.pow(samples[i] - decoded[i], 2);
    }
    return 10 * Math.log10(signal / noise);
  }

  private static AudioInputStream file(String name) throws IOException, UnsupportedAudioFileException {
    AudioInputStream sound = AudioSystem.getAudioInputStream(new File(name));
    return AudioSystem.getAudioInputStream(format(sound.getFormat().getSampleRate()), sound);
  }

  private static AudioInputStream microphone(int seconds) throws LineUnavailableException {
    AudioFormat format = format(MICROPHONE_RATE);
    TargetDataLine line = AudioSystem.getTargetDataLine(format);
    line.open(format);
    line.start();
    Listener.print("listening for %d s\n", seconds);
    return new AudioInputStream(new AudioInputStream(line), format, (long) (seconds * MICROPHONE_RATE));
  }

  private static AudioFormat format(float rate) {
    return new AudioFormat(rate, 16, 1, true, false);
  }
}
