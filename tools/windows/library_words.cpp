// sound/library_words.h for Windows, where libsndfile is built without the decoder that has words.
#include "sound/library_words.h"

namespace vask::command {

LibraryWords::LibraryWords() = default;
LibraryWords::~LibraryWords() = default;

}  // namespace vask::command
