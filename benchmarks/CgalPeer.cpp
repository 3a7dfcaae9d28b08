#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_slicer.h>
#include <CGAL/Surface_mesh.h>

#include "SlicingPeer.h"

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using SurfaceMesh = CGAL::Surface_mesh<Kernel::Point_3>;

struct SlicingPeer::Mesh
{
    SurfaceMesh surface;
};

SlicingPeer::SlicingPeer(const double* coordinates, std::size_t vertices, const std::uint32_t* corners,
                         std::size_t faces)
    : _mesh(std::make_unique<Mesh>())
{
    using Vertex = SurfaceMesh::Vertex_index;
    for (std::size_t v = 0; v < vertices; ++v)
        _mesh->surface.add_vertex({coordinates[3 * v], coordinates[3 * v + 1], coordinates[3 * v + 2]});
    for (std::size_t f = 0; f < faces; ++f)
        _mesh->surface.add_face(Vertex(corners[3 * f]), Vertex(corners[3 * f + 1]),
                                Vertex(corners[3 * f + 2]));
}

SlicingPeer::~SlicingPeer() = default;

SlicingPeer::Sums SlicingPeer::slice(unsigned axis, const std::vector<double>& heights) const
{
    const CGAL::Polygon_mesh_slicer<SurfaceMesh, Kernel> slicer(_mesh->surface);
    Sums sums{0, 0};
    for (const double height : heights)
    {
        std::vector<std::vector<Kernel::Point_3>> lines;
        slicer(Kernel::Plane_3(axis == 0, axis == 1, axis == 2, -height), std::back_inserter(lines));
        for (const auto& line : lines)
        {
            ++sums.loops;
            sums.points += static_cast<long long>(line.size()) - 1;
        }
    }
    return sums;
}
