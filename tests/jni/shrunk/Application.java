package shrunk;

import com.norv.Brindle.Vask;
import com.norv.Brindle.VaskStream;
import com.norv.Brindle.VaskStreamEvent;

/** An application to shrink: starts the front end and a stream, and asks them something. */
public final class Application {
  private Application() {}

  public static void main(String[] args) {
    short[] samples = new short[32000];
    if (Vask.Vask_epd_init(".", 2) == 1 && Vask.Vask_epd_process_frames(320, samples) == 0) {
      System.out.println("heard");
    }
    for (int i = 0; i < samples.length; i++) samples[i] = (short) (i % 160 * (i < 16000 ? 1 : 50) + i * i % 41);
    VaskStream stream = VaskStream.builder().open();
    stream.write(samples);
    stream.close();
    for (VaskStreamEvent event : stream) System.out.println(event.kind + " " + event.levelDb);
  }
}
