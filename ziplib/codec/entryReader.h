#pragma once

#include "storage/storage.h"
#include "ziplib/codec/cipher.h"
#include "ziplib/codec/codec.h"
#include "ziplib/common/buffer.h"
#include "ziplib/common/threadPool.h"
#include "ziplib/format/directory.h"
#include "ziplib/format/localHeader.h"

#include <cstdint>
#include <optional>

namespace ziplib {

// The archive that a call works on, for all workers.
struct Source {
    const platform::InputFile &file;
    const Directory &directory;
    const Extents &extents;
    MemoryBudget &budget;
};

// What one worker keeps from entry to entry.
struct Scratch {
    Buffer packed;
    Buffer plain;
    Buffer converted;
    Inflater inflater;
};

// Takes the data of an entry, piece by piece.
class Sink {
  public:
    Sink() = default;
    virtual ~Sink() = default;
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;

    virtual platform::Status write(const std::uint8_t *data, std::size_t size) = 0;
};

// Reads an entry's data, decrypts and inflates it and gives it to the sink. Ok only where all of
// it came and its size and CRC are right: a small entry's data is given in one piece after it has
// been checked, a large one's as it comes. Never gives more than the size that is told, and takes
// no memory by what an archive says without bounds.
platform::Status readEntry(const Source &source, std::size_t index,
                           const std::optional<Cipher> &cipher, Scratch &scratch,
                           const platform::KeepGoing &keepGoing, Sink &sink);

// True where the entry's encryption header fits the cipher, which wrong passwords do in one case
// of 256.
platform::Status checkPassword(const Source &source, std::size_t index, Cipher cipher, bool &fits);

} // namespace ziplib
