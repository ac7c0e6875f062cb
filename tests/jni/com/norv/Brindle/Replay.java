package com.norv.Brindle;

import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Iterator;
import java.util.List;
import java.util.Locale;
import java.util.zip.CRC32;

/**
 * Replays tests/replay/replay.txt, whose head explains its lines, through {@link VaskStream}: every event and all audio
 * must be the same. Arrays and direct buffers take turns at writing and at reading.
 */
final class Replay {
  private final String name;
  private final VaskStreamBuilder builder = VaskStream.builder();
  private boolean hasEvents = true; // mode 2
  private short[] input = {};
  private String[] pieces;
  private final List<String[]> pauses = new ArrayList<>();
  private final List<String> answers = new ArrayList<>();
  private final CRC32 crc = new CRC32();
  private int read;
  private int turn;

  private Replay(String name) {
    this.name = name;
  }

  /**
   * Replays a file.
   *
   * @param args replay.txt and samples/room.wav
   */
  public static void main(String[] args) throws IOException {
    byte[] bytes = Files.readAllBytes(Paths.get(args[1]));
    short[] room = new short[(bytes.length - 44) / 2];
    ByteBuffer.wrap(bytes, 44, 2 * room.length).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(room);
    int cases = 0;
    Replay open = null;
    Iterator<String> answers = null; // once the case has been played
    for (String line : Files.readAllLines(Paths.get(args[0]))) {
      if (line.isEmpty() || line.startsWith("#")) continue;
      String[] words = line.split(" ");
      if (words[0].equals("case")) {
        open = new Replay(words[1]);
        answers = null;
      } else if (!Arrays.asList("event", "audio", "end").contains(words[0])) {
        open.prepare(words, room);
      } else {
        if (answers == null) answers = open.play().iterator();
        String answer = answers.next();
        if (!answer.equals(line)) {
          System.out.println("replay: case " + open.name + " differs: expected " + line + ", got " + answer);
          System.exit(1);
        }
        if (words[0].equals("end")) cases++;
      }
    }
    if (cases == 0) throw new IllegalArgumentException(args[0] + " has no cases");
    System.out.println("replay: " + cases + " cases, the same bits");
  }

  private void prepare(String[] words, short[] room) {
    switch (words[0]) {
      case "set":
        set(words[1], words[2]);
        break;
      case "input":
        short[] more = Signals.make(words, 1, room);
        input = Arrays.copyOf(input, input.length + more.length);
        System.arraycopy(more, 0, input, input.length - more.length, more.length);
        break;
      case "pieces":
        pieces = words;
        break;
      case "pause":
        pauses.add(words);
        break;
      default:
        throw new IllegalArgumentException("this line is wrong: " + String.join(" ", words));
    }
  }

  /** Sets an option by the name of its field in C. */
  private void set(String field, String value) {
    String[] path = field.split("\\.");
    String option = path[path.length - 1];
    if (field.startsWith("options.profile.")) {
      builder.profile(VaskStreamProfile.valueOf(option.toUpperCase(Locale.ROOT)), Integer.parseInt(value));
      return;
    }
    if (option.equals("mode")) hasEvents = value.equals("2");
    String[] parts = option.split("_");
    StringBuilder called = new StringBuilder(parts[0]);
    for (int i = 1; i < parts.length; i++) {
      called.append(parts[i].substring(0, 1).toUpperCase(Locale.ROOT)).append(parts[i].substring(1));
    }
    for (Method method : VaskStreamBuilder.class.getMethods()) {
      if (!method.getName().equals(called.toString()) || method.getParameterCount() != 1) continue;
      try {
        method.invoke(builder, valueOf(method.getParameterTypes()[0], value));
        return;
      } catch (IllegalAccessException | InvocationTargetException e) {
        throw new IllegalStateException(e);
      }
    }
    throw new IllegalArgumentException("there is no option " + called);
  }

  private static Object valueOf(Class<?> type, String value) {
    if (type == float.class) return Float.parseFloat(value);
    int number = Integer.parseInt(value);
    if (!type.isEnum()) return number;
    return type.getEnumConstants()[type == VaskStream.Mode.class ? number - 1 : number];
  }

  private List<String> play() {
    try (VaskStream stream = builder.open()) {
      int at = 0;
      for (int i = 0; at < input.length; i++) {
        while (!pauses.isEmpty() && Integer.parseInt(pauses.get(0)[1]) <= at) {
          stream.setPause(Float.parseFloat(pauses.remove(0)[2]));
        }
        int end = Math.min(input.length, at + Integer.parseInt(pieces[1 + i % (pieces.length - 1)]));
        if (write(stream, Arrays.copyOfRange(input, at, end)) != end - at) answers.add("a write took less");
        at = end;
        takeAll(stream);
      }
      if (!stream.flush()) answers.add("the flush left something behind");
      takeAll(stream);
    }
    answers.add(String.format("audio %d %08x", read, crc.getValue()));
    answers.add("end");
    return answers;
  }

  private void takeAll(VaskStream stream) {
    for (VaskStreamEvent e : stream) {
      answers.add(String.format("event %s %s %d %d %d %d %d %d %d %d %08x %08x", e.kind,
          e.reason != null ? e.reason : "none", e.segment, e.continues ? 1 : 0, e.start, e.end, e.spanStart, e.spanEnd,
          e.heard, e.voicedFrames, Float.floatToRawIntBits(e.voiced), Float.floatToRawIntBits(e.levelDb)));
      takeAudio(stream);
    }
    if (!hasEvents) takeAudio(stream);
  }

  private void takeAudio(VaskStream stream) {
    if (stream.available() == 0) return;
    short[] samples = read(stream);
    read += samples.length;
    for (short sample : samples) {
      crc.update(sample);
      crc.update(sample >> 8);
    }
  }

  private int write(VaskStream stream, short[] samples) {
    if (turn++ % 2 == 0) return stream.write(samples);
    ByteBuffer buffer = ByteBuffer.allocateDirect(2 * samples.length).order(ByteOrder.nativeOrder());
    buffer.asShortBuffer().put(samples);
    return stream.write(buffer);
  }

  private short[] read(VaskStream stream) {
    if (turn++ % 2 == 0) return stream.read();
    short[] samples = new short[stream.available()];
    ByteBuffer buffer = ByteBuffer.allocateDirect(2 * samples.length).order(ByteOrder.nativeOrder());
    stream.read(buffer);
    buffer.flip();
    buffer.asShortBuffer().get(samples);
    return samples;
  }
}
