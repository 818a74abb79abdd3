// The size figure of a lexicon, which the loaders return as an int: it stops at INT_MAX.
#ifndef TTS_LOAD_SIZE_H
#define TTS_LOAD_SIZE_H

#include <algorithm>
#include <climits>
#include <cstddef>

class load_size {
  public:
    void add(size_t bytes) { sum_ += bytes; }
    int as_int() const { return static_cast<int>(std::min(sum_, size_t{INT_MAX})); }

  private:
    size_t sum_ = 0;
};

#endif
