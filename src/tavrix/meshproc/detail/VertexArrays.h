#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Copies of a mesh's extra arrays of values per position or per face, which follow the vertices and faces
/// and take the place of the mesh's own at the end.
class VertexArrays
{
public:
    explicit VertexArrays(const Mesh& mesh);
    ~VertexArrays();
    VertexArrays(const VertexArrays&) = delete;
    VertexArrays& operator=(const VertexArrays&) = delete;

    bool empty() const { return _perPosition.empty(); }
    /// Whether two vertices have the same values; those of a type that the library does not know differ.
    bool areEqual(uint32 a, uint32 b) const;
    /// Makes the values of `kept` what lies the part `t` of the way from there to `gone`.
    void blend(uint32 kept, uint32 gone, double t);

    /// Takes the values of these vertices and faces, in their order; false when stopped.
    bool gather(const Array<uint32>& vertices, const Array<uint32>& faces, Polling& polling);
    /// Adds vertices in the middle between two each, which may have been added before them, and takes the
    /// values of these faces, in their order; false when stopped.
    bool addMiddles(const Array<Tuple2<uint32, uint32>>& ends, const Array<uint32>& faces, Polling& polling);
    /// Exchanges them with the mesh's.
    void handOver();

private:
    VertexArrays() = default;

    struct Copy
    {
        ArrayHandle original, values;
        uint32 stride;    ///< values a vertex or a face
        float* floats;    ///< the values, where they are made of these
        double* doubles;  ///< likewise
        uint32 numbersAVertex;
    };
    template <class Number, class Element>
    static bool view(Copy& copy, Number* Copy::*numbers);
    static void findNumbers(Copy& copy);
    void add(const Mesh& mesh, uint32 flag, uint32 count, std::vector<Copy>& copies);
    bool gather(std::vector<Copy>& copies, const Array<uint32>& numbers, Polling& polling);

    std::vector<Copy> _perPosition, _perFace;
    Array<uint32> _sources;  ///< the vertex from which values that cannot be blended come
};

}  // namespace tavrix::detail
