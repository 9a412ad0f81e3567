// Observing: a callback at a component, or at a movie and its components, and the handle that ends it. Cycles
// through callbacks (an object that holds a movie and is told by it) are seen by Python's collector.
#include <utility>
#include <vector>

#include "bindings.h"
#include "keeper.h"

namespace pzel_python {

namespace {

/// The components that a callback was attached to. It keeps none of them alive.
class Observation {
  public:
    void Add(IComponent& component, const py::object& callback) {
        Keeper& keeper = Keeper::Of(component);
        const std::uint64_t number = keeper.Observe(callback);
        places.emplace_back(keeper.Self(), number);
    }
    void Detach() {
        for (const auto& [keeper, number] : std::exchange(places, {})) {
            if (*keeper) (*keeper)->Forget(number);
        }
    }

  private:
    std::vector<std::pair<std::shared_ptr<Keeper*>, std::uint64_t>> places;
};

Observation Observe(IComponent& component, const py::object& callback, bool all) {
    if (!PyCallable_Check(callback.ptr())) throw py::type_error("an observer is called: pass a callable");
    Observation made;
    made.Add(component, callback);
    for (int i = 0; all && i < component.GetNumbChildren(); ++i) made.Add(*component.GetChildAt(i), callback);
    return made;
}

/// The component behind a wrapper; null for one that is not whole yet.
IComponent* Behind(PyObject* self) {
    auto* const instance = reinterpret_cast<py::detail::instance*>(self);
    const py::detail::value_and_holder value = instance->get_value_and_holder();
    return value.vh && value.holder_constructed() ? value.value_ptr<IComponent>() : nullptr;
}

/// What nobody but its wrapper, or the movie that is asked, holds.
bool IsHeldOnce(IComponent& component) {
    component.Hold();
    return component.Release() == 1;
}

template <class Use>
void ForEachKeeper(PyObject* self, Use use) {
    IComponent* const component = Behind(self);
    if (!component || !IsHeldOnce(*component)) return;
    if (Keeper* const keeper = Keeper::Find(*component)) use(*keeper);
    if (!component->IsMovieObj()) return;
    for (int i = 0; i < component->GetNumbChildren(); ++i) {
        IComponent& child = *component->GetChildAt(i);
        Keeper* const keeper = IsHeldOnce(child) ? Keeper::Find(child) : nullptr;
        if (keeper) use(*keeper);
    }
}

int Traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    int stopped = 0;
    ForEachKeeper(self, [&](Keeper& keeper) {
        if (stopped == 0) stopped = keeper.Traverse(visit, arg);
    });
    return stopped;
}

int Clear(PyObject* self) {
    ForEachKeeper(self, [](Keeper& keeper) { keeper.Clear(); });
    return 0;
}

}  // namespace

py::custom_type_setup CollectedType() {
    return py::custom_type_setup([](PyHeapTypeObject* type) {
        type->ht_type.tp_flags |= Py_TPFLAGS_HAVE_GC;
        type->ht_type.tp_traverse = Traverse;
        type->ht_type.tp_clear = Clear;
    });
}

void BindObservers(py::module_& module, ComponentClass& component) {
    py::class_<Observation>(module, "Observation",
                            "A callback at a component. Ends with detach(), with a `with` block, or with the "
                            "component; letting go of it ends nothing. It keeps no component alive.")
        .def("detach", &Observation::Detach,
             "Calls no more (C++: DetachObserver). Also from inside the callback; again does nothing.")
        .def("__enter__", [](const py::object& self) { return self; })
        .def("__exit__", [](Observation& self, const py::args&) { self.Detach(); });
    component.def(
        "observe", &Observe, py::arg("callback"), py::kw_only(), py::arg("all") = false,
        "Calls callback(source, event, param) after every change (C++: AttachObserver; `all`: "
        "AttachObserver_All).\n\n"
        "event is an Event. param is the child for CHILD_ADDED and CHILD_REMOVING (None as the first "
        "addition of "
        "a movie that was not composite), the movie for CHILD_REMOVED, (left, top, right, bottom) before the "
        "move "
        "for LOCATION, else a number. At DESTROYED source is None.\n"
        "An exception goes to sys.unraisablehook and changes nothing else. The component keeps the "
        "callback.\n\n"
        "Returns an Observation, whose detach() may be called at any time, also inside a callback.");
}

}  // namespace pzel_python
