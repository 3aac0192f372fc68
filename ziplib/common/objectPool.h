#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ziplib {

// An object that is dear to make, lent to one thread at a time and kept for the next that wants
// one. It stands in for thread_local ones: in a Windows library their memory may be gone before
// they are destroyed when a thread ends. All loans of one type must be made alike.
template<typename T>
class Loan {
  public:
    template<typename... Arguments>
    explicit Loan(Arguments &&...arguments) : m_object(take()) {
        if (!m_object)
            m_object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
    }
    ~Loan() {
        Shelf &free = shelf();
        const std::lock_guard lock(free.mutex);
        // There is room: take() has made it.
        free.objects.push_back(std::move(m_object));
    }
    Loan(const Loan &) = delete;
    Loan &operator=(const Loan &) = delete;

    T &operator*() const { return *m_object; }
    T *operator->() const { return m_object.get(); }

  private:
    struct Shelf {
        std::mutex mutex;
        std::vector<std::unique_ptr<T>> objects;
        std::size_t lent = 0;
    };

    static Shelf &shelf() {
        static Shelf free;
        return free;
    }

    static std::unique_ptr<T> take() {
        Shelf &free = shelf();
        const std::lock_guard lock(free.mutex);
        if (!free.objects.empty()) {
            std::unique_ptr<T> object = std::move(free.objects.back());
            free.objects.pop_back();
            return object;
        }
        free.objects.reserve(++free.lent);
        return nullptr;
    }

    std::unique_ptr<T> m_object;
};

} // namespace ziplib
