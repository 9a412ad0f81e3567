// References on components and movies as Python holds them: one for each wrapper, given back when it goes.
#pragma once

#include <pybind11/pybind11.h>

#include <utility>

#include "pzel/component/comp.h"
#include "pzel/component/movie.h"

namespace pzel_python {

namespace py = pybind11;

template <class T>
class Ref {
  public:
    Ref() = default;
    /// Adds a reference of its own.
    explicit Ref(T* component) : held(component) {
        if (held) held->Hold();
    }
    /// Takes over the reference that a new object starts with.
    static Ref Take(T* component) {
        Ref ref;
        ref.held = component;
        return ref;
    }
    Ref(const Ref& other) : Ref(other.held) {}
    Ref(Ref&& other) noexcept : held(std::exchange(other.held, nullptr)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(held, other.held);
        return *this;
    }
    ~Ref() {
        if (held) held->Release();
    }

    T* get() const { return held; }
    T* operator->() const { return held; }

  private:
    T* held = nullptr;
};

/// The wrapper of a component or a movie; None for null. One object has one wrapper.
inline py::object Wrapped(IComponent* component);

}  // namespace pzel_python

PYBIND11_DECLARE_HOLDER_TYPE(T, pzel_python::Ref<T>, true)

namespace pzel_python {

inline py::object Wrapped(IComponent* component) {
    if (!component) return py::none();
    if (component->IsMovieObj()) return py::cast(Ref<Movie>(static_cast<Movie*>(component)));
    return py::cast(Ref<Comp>(static_cast<Comp*>(component)));
}

}  // namespace pzel_python
