#include <string>

#include "MeshObject.h"
#include "Ranks.h"

// The module tavrix._core, which the package shows as its own.

PYBIND11_MODULE(_core, module)
{
    using namespace tavrix::python;

    module.doc() = "The kernel of tavrix.";
    module.attr("__version__") = TAVRIX_VERSION;
    bindMesh(module);
    bindReconstruction(module);
    bindRanks(module);
    bindParticles(module);
    bindField(module);
    bindLevelSet(module);
    bindCollider(module);
    for (const auto& [name, value] : module.attr("__dict__").cast<py::dict>())
        if (py::isinstance<py::type>(value)) py::setattr(value, "__module__", py::str("tavrix"));
}
