package shrunk;

import com.norv.Brindle.Vask;

/** An application to shrink: starts the front end and asks it something. */
public final class Application {
  private Application() {}

  public static void main(String[] args) {
    short[] samples = new short[320];
    if (Vask.Vask_epd_init(".", 2) == 1 && Vask.Vask_epd_process_frames(320, samples) == 0) {
      System.out.println("heard");
    }
  }
}
