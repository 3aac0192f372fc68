#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace ziplib {

// Borrows an object from the pool of its type, or creates one if the pool is empty. For objects
// that are expensive to create; all of one type must be created with the same arguments. Replaces
// thread_local objects, whose memory a Windows library may lose before they are destroyed.
template<typename T>
class PooledObject {
  public:
    template<typename... Arguments>
    explicit PooledObject(Arguments &&...arguments) : m_object(take()) {
        if (!m_object)
            m_object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
    }
    ~PooledObject() {
        ObjectPool &pool = objectPool();
        const std::lock_guard lock(pool.mutex);
        // Does not allocate: take() has reserved the space.
        pool.objects.push_back(std::move(m_object));
    }
    PooledObject(const PooledObject &) = delete;
    PooledObject &operator=(const PooledObject &) = delete;

    T &operator*() const { return *m_object; }
    T *operator->() const { return m_object.get(); }

  private:
    struct ObjectPool {
        std::mutex mutex;
        std::vector<std::unique_ptr<T>> objects;
        std::size_t created = 0;
    };

    static ObjectPool &objectPool() {
        static ObjectPool pool;
        return pool;
    }

    static std::unique_ptr<T> take() {
        ObjectPool &pool = objectPool();
        const std::lock_guard lock(pool.mutex);
        if (!pool.objects.empty()) {
            std::unique_ptr<T> object = std::move(pool.objects.back());
            pool.objects.pop_back();
            return object;
        }
        pool.objects.reserve(++pool.created);
        return nullptr;
    }

    std::unique_ptr<T> m_object;
};

} // namespace ziplib
