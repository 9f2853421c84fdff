// Objects on the heap where there is no C++ run-time library.
#pragma once

#include <cstdlib>
#include <new>

namespace zutext {

// Null when memory is short.
template <class Object> Object *make() {
    void *memory = std::malloc(sizeof(Object));
    return memory == nullptr ? nullptr : new (memory) Object;
}

template <class Object> void destroy(Object *object) {
    if (object != nullptr) {
        object->~Object();
        std::free(object);
    }
}

// Owns an object until the end of a block.
template <class Object> class Owned {
  public:
    Owned() : m_object(make<Object>()) {}
    ~Owned() { destroy(m_object); }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
    explicit operator bool() const { return m_object != nullptr; }
    Object *operator->() const { return m_object; }
    Object &operator*() const { return *m_object; }

  private:
    Object *m_object;
};

} // namespace zutext
