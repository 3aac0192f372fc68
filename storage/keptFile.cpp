#include "storage/storage.h"
#include "storage/temporary.h"

#include <utility>

// What becomes of a new file that cannot have its name.
namespace platform {

namespace {

constexpr int kMostKept = 1000;

} // namespace

Status NewFile::setAside(const std::string &name) {
    Status status;
    for (int number = 1; number <= kMostKept; ++number) {
        status = takeFreeName(keptName(name, number));
        if (!status.is(Failure::Exists))
            break;
    }
    return status;
}

Status NewFile::keep(const std::string &name, const Status &failed) {
    if (isTemporaryName(m_temporary))
        (void)setAside(name);
    const std::string path = m_folder->pathOf(std::exchange(m_temporary, std::string()));
    discard();
    // One that is about to go can still be listed.
    InputFile there;
    const bool gone = m_folder->openFile(name, there).is(Failure::NotFound);
    return {failed.kind,
            failed.message + (gone ? "; " + m_folder->pathOf(name) + " is gone" : "") +
                "; the new file is whole and was kept as " + path,
            path};
}

} // namespace platform
