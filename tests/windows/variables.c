/*
 * The variables of the interface, seen through the DLL: the program and the library have the same ones.
 */
#include <stdio.h>
#include <string.h>
#include <vask/vask.h>

static int faults;

static void Check(int good, const char* what) {
  if (!good) {
    printf("variables: %s\n", what);
    ++faults;
  }
}

int main(void) {
  int32_t sum = 0;
  for (int32_t i = 0; i < mel_filt_N; ++i) sum |= mel_filt_data[i];
  Check(mel_filt_N == 293 && sum != 0, "the table of the mel filters is not there");
  Vask_epd_set_base_dir("some/where");
  Check(strncmp(Vask_epd_base_dir, "some/where", 10) == 0, "the library's folder is not seen");
  Vask_EPD_Set_Mode_Energy(7);
  Check(Vask_EPD_Energy_Only == 7, "what the library sets is not seen");
  if (faults == 0) printf("variables: one for the program and the library\n");
  return faults != 0;
}
