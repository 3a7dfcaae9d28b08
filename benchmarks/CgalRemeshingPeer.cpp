#include <chrono>

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_mesh_processing/detect_features.h>
#include <CGAL/Polygon_mesh_processing/remesh.h>
#include <CGAL/Surface_mesh.h>

#include "RemeshingPeer.h"

using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
using SurfaceMesh = CGAL::Surface_mesh<Kernel::Point_3>;

double RemeshingPeer::remesh(double edge, unsigned rounds, double sharpDegrees)
{
    namespace processing = CGAL::Polygon_mesh_processing;
    using Vertex = SurfaceMesh::Vertex_index;
    SurfaceMesh mesh;
    for (std::size_t v = 0; v < coordinates.size(); v += 3)
        mesh.add_vertex({coordinates[v], coordinates[v + 1], coordinates[v + 2]});
    for (std::size_t f = 0; f < corners.size(); f += 3)
        mesh.add_face(Vertex(corners[f]), Vertex(corners[f + 1]), Vertex(corners[f + 2]));

    const auto start = std::chrono::steady_clock::now();
    auto sharp = mesh.add_property_map<SurfaceMesh::Edge_index, bool>("e:sharp", false).first;
    processing::detect_sharp_edges(mesh, sharpDegrees, sharp);
    processing::isotropic_remeshing(
        faces(mesh), edge, mesh,
        CGAL::parameters::number_of_iterations(rounds).edge_is_constrained_map(sharp));
    mesh.collect_garbage();
    const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;

    coordinates.clear();
    corners.clear();
    for (const Vertex v : mesh.vertices())
        for (int axis = 0; axis < 3; ++axis) coordinates.push_back(mesh.point(v)[axis]);
    for (const auto face : mesh.faces())
        for (const Vertex v : vertices_around_face(mesh.halfedge(face), mesh)) corners.push_back(v);
    return time.count();
}
