#pragma once

#include <atomic>
#include <cerrno>
#include <cstdint>

namespace platform {

// A disk, and what it has refused. A call that it does not support is made once, by the first file
// that needs it; from then on all files take the next best way. Thread-safe.
class Disk {
  public:
    enum Feature : unsigned {
        NamelessFiles = 1,
        Links = 2,
        ExclusiveRename = 4, // a rename that fails if the name is taken
        Attributes = 8,      // the extended attribute of the DOS bits
        CopyRange = 16,      // copies by the file system
        ShareRange = 32,     // copies that share blocks
        ReserveRange = 64,   // allocation before the data is written
        Leases = 128,        // knowledge of programs that write to a file
    };

    // The disk of this device number; it is never destroyed.
    static Disk &of(std::uint64_t device);

    // Makes a system call, which fails with a negative result and errno. Fails with EOPNOTSUPP,
    // without the call, if the disk has refused the feature before.
    template<typename Call>
    auto attempt(Feature feature, Call call) -> decltype(call()) {
        if ((m_refused & feature) != 0) {
            errno = EOPNOTSUPP;
            return -1;
        }
        const auto result = call();
        if (result < 0 && isRefusal(feature, errno))
            m_refused |= feature;
        return result;
    }
    // For a refusal that no error shows.
    void refuse(Feature feature) { m_refused |= feature; }
    bool refuses(Feature feature) const { return (m_refused & feature) != 0; }

  private:
    static bool isRefusal(Feature feature, int error);

    std::atomic<unsigned> m_refused{0};
};

// Whether a file or folder is on a local device, where the kernel copies page by page.
bool isOwnDevice(int descriptor);

// Whether each write to a file of this disk sets the time of the file's last change, also the first
// store through a memory mapping since the file was last written back. A store in memory of which
// the disk learns nothing, as on tmpfs, does not.
bool stampsWrites(int descriptor);

// Whether a rename may replace an open file on the disk of this file or folder, as POSIX specifies.
// True for known local file systems only: a file server may refuse, and the kernel's SMB client has
// then already requested the deletion of the open file, which the server executes when it is
// closed.
bool replacesOpenFiles(int descriptor);

// Whether the kernel knows by itself if a file of this disk is open for writing. The clients of
// file servers refuse leases for other reasons too.
bool knowsWriters(int descriptor);

} // namespace platform
