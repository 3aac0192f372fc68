#include "storage/storage.h"

#include <utility>

// The parts of InputFile that are the same on all systems.
namespace platform {

InputFile::InputFile(InputFile &&other) noexcept
    : m_handle(std::exchange(other.m_handle, -1)),
      m_holdsOff(std::exchange(other.m_holdsOff, false)), m_path(std::move(other.m_path)) {}

InputFile &InputFile::operator=(InputFile &&other) noexcept {
    if (this != &other) {
        close();
        m_handle = std::exchange(other.m_handle, -1);
        m_holdsOff = std::exchange(other.m_holdsOff, false);
        m_path = std::move(other.m_path);
    }
    return *this;
}

Status InputFile::open(const std::string &path) {
    FileInfo info;
    return open(path, info);
}

} // namespace platform
