#pragma once

#include <functional>

#include <pybind11/pybind11.h>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/RankMesh.h>

namespace tavrix::python
{

namespace py = pybind11;

/// Ranks whose messages Python carries: an object with rank, size, here (the ranks on this machine) and
/// digest (a number below 2^32 of what all ranks must give alike); and with sum(int64s), largest(float64s)
/// and exchange(outgoing, counts, incoming, counts, record_size), which are given numpy's arrays over the
/// kernel's memory. What it raises ends the call.
class PythonRanks : public RankGroup
{
public:
    explicit PythonRanks(const py::object& ranks);

    uint32 rank() const override { return _rank; }
    uint32 size() const override { return _size; }
    uint32 here() const { return _here; }
    void sum(std::span<int64> numbers) override;
    void largest(std::span<double> numbers) override;
    void exchange(const void* outgoing, const uint32* outgoingCounts, void* incoming,
                  const uint32* incomingCounts, std::size_t recordSize) override;

    /// Does what may raise, and raises on all ranks where it raised on one.
    void together(const std::function<void()>& work);
    /// Raises ValueError on all ranks unless all give the same number, below 2^53.
    void confirmAlike(uint64 number, const char* what);

private:
    py::object _ranks;
    uint32 _rank, _size, _here;
};

/// A rank's part of a mesh, for Python.
py::object objectOf(RankMesh&& part, const py::object& ranks);

void bindRanks(py::module_& module);

}  // namespace tavrix::python
