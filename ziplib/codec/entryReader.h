#pragma once

#include "storage/storage.h"
#include "storage/threadPool.h"
#include "ziplib/codec/cipher.h"
#include "ziplib/codec/codec.h"
#include "ziplib/common/buffer.h"
#include "ziplib/format/directory.h"
#include "ziplib/format/localHeader.h"

#include <cstdint>
#include <optional>
#include <span>

namespace ziplib {

// The archive that entries are read from; used by all threads.
struct Source {
    const platform::InputFile &file;
    const Directory &directory;
    // Null for a comparison, which needs no check: neither where the data may lie nor its CRC is
    // checked then.
    const Extents *extents = nullptr;
    // Limits what all threads take for entries that are read whole; may be null.
    platform::MemoryBudget *budget = nullptr;
    // Called between the chunks of a large entry; may be empty.
    platform::KeepGoing keepGoing = {};
};

// Buffers that one thread keeps from entry to entry.
struct Scratch {
    Bytes compressed;
    Bytes plain;
    Inflater inflater;
};

// Reads the data of one entry: decrypts, inflates and checks it. A small entry is inflated whole
// and checked before any of it is returned; a large one streams. Never returns more than the
// declared size, and takes no memory in proportion to a forged one.
class EntryReader {
  public:
    using Chunk = std::span<const std::uint8_t>;

    // The source and the buffers must outlive the reader. An encrypted entry
    // needs a cipher.
    EntryReader(const Source &source, std::size_t index, const std::optional<Cipher> &cipher,
                Scratch &scratch);
    ~EntryReader();
    EntryReader(const EntryReader &) = delete;
    EntryReader &operator=(const EntryReader &) = delete;

    // The next bytes, at most `most`, valid until the next call. An empty chunk is the end: all of
    // the data was returned, and it was right. A failure is final.
    platform::Status next(Chunk &chunk, std::size_t most = SIZE_MAX);

  private:
    bool isDeflated() const { return m_entry.method == kMethodDeflated; }
    bool checks() const { return m_source.extents != nullptr; }
    platform::Status fail(platform::Failure kind, const char *why) const;
    platform::Status damaged(const char *why) const;
    std::size_t wholeSize() const;
    platform::Status checkDeclared() const;
    platform::Status checkEnd(std::uint64_t dataOffset) const;
    platform::Status start();
    platform::Status readWhole();
    platform::Status readStream();
    platform::Status readInput();
    platform::Status give(Chunk chunk);

    const Source &m_source;
    const Entry m_entry;
    const std::uint64_t m_limit; // where the next thing in the file starts
    std::optional<Cipher> m_cipher;
    Scratch &m_scratch;
    std::optional<platform::MemoryBudget::Reservation> m_memory;
    platform::Status m_status;
    bool m_started = false;
    bool m_whole = false;
    Chunk m_ready; // data that was not returned yet

    // Of an entry that streams.
    std::optional<InflateStream> m_inflater;
    std::uint64_t m_position = 0; // in the file, of the compressed data that is read next
    std::uint64_t m_left = 0;     // compressed bytes from there
    std::size_t m_skip = 0;       // bytes of the encryption header
    Chunk m_input;
    bool m_outputFull = false; // the last step filled its buffer: more may follow without input
    bool m_ended = false;
    std::uint64_t m_given = 0;
    std::uint32_t m_crc = 0;
};

} // namespace ziplib
