#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace platform {

// Owns a file descriptor; closes it when it goes.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    ~Descriptor() { close(); }
    Descriptor(Descriptor &&other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept {
        if (this != &other) {
            close();
            m_number = std::exchange(other.m_number, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    bool isOpen() const { return m_number >= 0; }
    int get() const { return m_number; }

  private:
    void close() {
        if (m_number >= 0)
            ::close(m_number);
        m_number = -1;
    }

    int m_number;
};

// Deletes a file that is open here and closes it with `close`, in this order if the disk deletes
// open files. On others no program loses a file that it has opened in between.
template<typename Close>
void removeAndClose(int folder, const char *name, Close close) {
    const bool busy = unlinkat(folder, name, 0) != 0 && errno == EBUSY;
    close();
    if (busy)
        unlinkat(folder, name, 0);
}

} // namespace platform
