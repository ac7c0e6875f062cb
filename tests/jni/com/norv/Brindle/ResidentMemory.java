package com.norv.Brindle;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Paths;

/** What the process occupies, as Linux counts it. */
final class ResidentMemory {
  private ResidentMemory() {}

  static long kib() throws IOException {
    System.gc();
    for (String line : Files.readAllLines(Paths.get("/proc/self/status"))) {
      if (line.startsWith("VmRSS:")) return Long.parseLong(line.replaceAll("[^0-9]", ""));
    }
    throw new IOException("no VmRSS");
  }
}
