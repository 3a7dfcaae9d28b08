#include "Extraction.h"

#include <cmath>

#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/MeshRepair.h>

#include "Choice.h"

namespace tavrix::python
{

namespace
{

/// Threads cost more than they bring on grids of fewer nodes.
constexpr uint32 nodesForThreads = 40 * 40 * 40;

}  // namespace

std::mutex& extractionMutex()
{
    static std::mutex mutex;
    return mutex;
}

template <class Value>
py::object extracted(const ScalarField3<Value, double>& field, const ExtractionOptions& options)
{
    const bool isInsideAbove = choice<bool>(options.inside, "inside", {{"above", true}, {"below", false}});
    if (!std::isfinite(options.level)) throw py::value_error("level: expected a finite number");
    const uint32 threads = field.size() < nodesForThreads ? 1 : threadsOf(options.threads);
    Mesh mesh;
    longStage(options.progress, "surface",
              [&](CancelCallback callback)
              {
                  std::unique_lock<std::mutex> lock(extractionMutex(), std::defer_lock);
                  if (options.clean) lock.lock();
                  IsosurfaceExtractor3::extractMesh(field, mesh, static_cast<Value>(options.level), 0, 0, 0,
                                                    0, 0, 0, threads, callback, options.clean);
                  if (lock) lock.unlock();
                  if (isInsideAbove) turnFaces(mesh);
                  if (options.normals)
                      mesh.recalculateVertexesNormals(threads, callback);
                  else
                      dropNormals(mesh);
              });
    return objectOf(std::move(mesh));
}

template py::object extracted(const ScalarField3<float, double>&, const ExtractionOptions&);
template py::object extracted(const ScalarField3<double, double>&, const ExtractionOptions&);

}  // namespace tavrix::python
