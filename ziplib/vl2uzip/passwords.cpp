#include "ziplib/vl2uzip/passwords.h"

namespace ziplib {

using platform::Failure;
using platform::Status;

namespace {

constexpr int kMostTries = 3; // for one entry

// True in `fits` if the entry's encryption header fits the cipher. A wrong password does in one
// case of 256.
Status checkPassword(const Source &source, std::size_t index, Cipher cipher, bool &fits) {
    const Entry entry = source.directory.entries()[index];
    std::uint64_t offset = 0;
    fits = false;
    if (Status status = locateData(source.file, source.directory, entry, offset); !status.ok())
        return status;
    std::uint8_t header[Cipher::kHeaderSize];
    std::size_t got = 0;
    if (Status status = source.file.readAt(offset, header, sizeof header, got); !status.ok())
        return status;
    if (got < sizeof header || entry.compressedSize < sizeof header) {
        std::string path = source.directory.path(entry);
        return {Failure::EndsEarly, path + " is cut off", path};
    }
    cipher.decrypt(header, sizeof header);
    // The last byte repeats one of the CRC, or of the time if the CRC was not known in advance.
    const std::uint8_t check = header[Cipher::kHeaderSize - 1];
    fits = check == (entry.crc >> 24) ||
           ((entry.flags & kFlagDescriptor) != 0 && check == (entry.time >> 8));
    return {};
}

} // namespace

bool Passwords::known(std::size_t index, std::optional<Cipher> &cipher) {
    bool fits = false;
    if (!m_have || !checkPassword(m_source, index, Cipher(m_password), fits).ok() || !fits)
        return false;
    cipher = Cipher(m_password);
    return true;
}

Status Passwords::ask(std::size_t index, const std::string &path, int &tries,
                      std::optional<Cipher> &cipher) {
    while (tries < kMostTries) {
        ++tries;
        const std::optional<std::string> password = m_caller.password(path);
        if (!password)
            return {Failure::Password, path + " needs a password", path};
        bool fits = false;
        if (Status status = checkPassword(m_source, index, Cipher(*password), fits); !status.ok())
            return status;
        if (fits) {
            m_password = *password;
            m_have = true;
            cipher = Cipher(*password);
            return {};
        }
    }
    return {Failure::Password, "the password for " + path + " is wrong", path};
}

} // namespace ziplib
