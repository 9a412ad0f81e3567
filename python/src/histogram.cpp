// Histograms: counts that can be added up, over images, frames and processes.
#include <memory>

#include "bindings.h"
#include "pzel/bounds/histogram.h"

namespace pzel_python {

namespace {

std::unique_ptr<Histogram> MakeHistogram(int bins, const py::object& low, const py::object& high) {
    if (bins < 1) throw py::value_error("a histogram has 1 bin or more");
    if (low.is_none() != high.is_none()) throw py::value_error("a range has two ends");
    return low.is_none() ? std::make_unique<Histogram>(bins)
                         : std::make_unique<Histogram>(low.cast<double>(), high.cast<double>(), bins);
}

void Add(Histogram& self, const Picture& picture, const py::object& channel) {
    ImagePart part;
    if (!channel.is_none()) part.channel = channel.cast<int>();
    bool added = false;
    {
        const py::gil_scoped_release released;
        added = self.Add(&picture.Record(), part);
    }
    if (!added)
        throw py::value_error("the image has no such channel, or its values do not fit the histogram's bins");
}

py::array Counts(const Histogram& self) {
    py::array_t<std::uint64_t> counts(self.GetNumbBins());
    for (int i = 0; i < self.GetNumbBins(); ++i) counts.mutable_at(i) = self.GetCount(i);
    return counts;
}

py::array Edges(const Histogram& self) {
    py::array_t<double> edges(self.GetNumbBins() + (self.GetNumbBins() > 0));
    for (int i = 0; i < edges.size(); ++i) edges.mutable_at(i) = self.GetBinStart(i);
    return edges;
}

}  // namespace

void BindHistogram(py::module_& module) {
    py::class_<Histogram>(
        module, "Histogram",
        "Counts of values (C++: Histogram). Bits, 8 and 16 bits are counted exactly, others in "
        "bins of equal width from low to high, by default those of the first image.")
        .def(py::init(&MakeHistogram), py::arg("bins") = 256, py::arg("low") = py::none(),
             py::arg("high") = py::none())
        .def("add", &Add, py::arg("image"), py::arg("channel") = py::none(),
             "Counts the values of an image as well. channel: in the order of the record; None: all.")
        .def(
            "merge",
            [](Histogram& self, const Histogram& other) {
                if (!self.Add(other)) throw py::value_error("the histograms have different bins");
            },
            py::arg("other"), "Adds what another one has counted.")
        .def_property_readonly("counts", &Counts, "The counts, uint64: a copy.")
        .def_property_readonly("edges", &Edges,
                               "Where bins start, and the end of the last one; of exact counts the values.")
        .def_property_readonly("exact", &Histogram::IsExact, "Whether each bin is one whole number.")
        .def_property_readonly("below", &Histogram::GetBelow, "Values below the range.")
        .def_property_readonly("above", &Histogram::GetAbove, "Values above the range.")
        .def("value_at_rank", &Histogram::GetValue, py::arg("rank"),
             "The value that has `rank` others below or beside it; NaN where counts are not exact.");
}

}  // namespace pzel_python
