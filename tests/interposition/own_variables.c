/*
 * The program and the library share the exported variables, in both directions.
 */
#include <stdio.h>
#include <string.h>

#include <vask/vask.h>

static int failures = 0;

static void Expect(int holds, const char* what) {
  if (holds) return;
  fprintf(stderr, "not so: %s\n", what);
  ++failures;
}

int main(void) {
  static energy_epd_prm general, narrow;
  static int16_t frame[160], out[1600];
  int32_t i, count = 0;

  /* program to library: the device selects the profile */
  deviceID = 2;
  osID = 2;
  init_energy_epd_conprm(&general);
  deviceID = 1;
  init_energy_epd_conprm(&narrow);
  Expect(general.profile.vad_threshold == 45, "device 2 has the threshold 45");
  Expect(narrow.profile.vad_threshold == 50, "device 1, written by the program, has the threshold 50");

  /* library to program */
  Vask_epd_set_option(1, 32);
  Vask_epd_set_option(2, 1);
  Expect(deviceID == 32 && osID == 1, "the program reads the options that were set");
  Vask_epd_set_base_dir("somewhere");
  Expect(strcmp(Vask_epd_base_dir, "somewhere/Vask.db/") == 0, "the program reads the directory");
  Vask_EPD_Set_Samplign_Rate(16000);
  Expect(Vask_EPD_Sampling_Rate == 16000.0f, "the program reads the sampling rate");

  /* both: a loud frame changes the extremes, and a history counter that the program clears starts again */
  if (Vask_epd_init(".", 1) != 1) return 1;
  frame[0] = 1234;
  frame[1] = -2345;
  Vask_epd_speechenhance(frame, 160, out, &count);
  Expect(sample_max == 1234 && sample_min == -2345, "the program reads the extremes");
  for (i = 0; i < 3; ++i) Vask_epd_speechenhance(frame, 160, out, &count);
  Expect(ecdorgFrames == 2, "the third and fourth frame are in the history");
  ecdorgFrames = 0;
  Vask_epd_speechenhance(frame, 160, out, &count);
  Expect(ecdorgFrames == 1, "the history starts again where the program put its counter");
  Vask_epd_stop();

  /* the built-in tables are read from where the program sees them */
  Expect(cc1_N == 120 && mel_filt_N == 293, "the counts of the tables");
  Expect(cc1_data[119] != 0 && mel_filt_data[292] != 0, "the tables are there to their ends");
  return failures > 0;
}
