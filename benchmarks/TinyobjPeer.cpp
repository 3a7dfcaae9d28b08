#include <tiny_obj_loader.h>

#include "MeshPeers.h"

long long tinyobjRead(const char* path)
{
    tinyobj::ObjReader reader;
    if (!reader.ParseFromFile(path)) return -1;
    long long faces = 0;
    for (const tinyobj::shape_t& shape : reader.GetShapes())
        faces += static_cast<long long>(shape.mesh.num_face_vertices.size());
    return faces;
}
