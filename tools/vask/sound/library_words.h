// What the MP3 decoder under libsndfile writes to standard error by itself; the command says what is wrong.
#pragma once

namespace vask::command {

// While one exists, standard error is held back; then everything but the decoder's words is written to it.
// Any number of threads may have one.
class LibraryWords {
 public:
  LibraryWords();
  ~LibraryWords();
  LibraryWords(const LibraryWords&) = delete;
  LibraryWords& operator=(const LibraryWords&) = delete;
};

}  // namespace vask::command
