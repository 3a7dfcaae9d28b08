#pragma once

#include <mutex>
#include <optional>
#include <string>

#include <tavrix/fields/ScalarField3.h>

#include "MeshObject.h"

namespace tavrix::python
{

/// How a field's surface is extracted, as Python says it.
struct ExtractionOptions
{
    double level = 0;
    std::string inside = "above";  ///< or "below": where the solid is
    bool clean = true, normals = true;
    std::optional<py::ssize_t> threads;
    py::object progress = py::none();
};

/// The mesh where a field crosses the level, faces outwards of the solid; open where that reaches the border.
template <class Value>
py::object extracted(const ScalarField3<Value, double>& field, const ExtractionOptions& options);

extern template py::object extracted(const ScalarField3<float, double>&, const ExtractionOptions&);
extern template py::object extracted(const ScalarField3<double, double>&, const ExtractionOptions&);

/// Extraction with clean-up keeps its tolerance for the whole process: who calls it holds this.
std::mutex& extractionMutex();

}  // namespace tavrix::python
