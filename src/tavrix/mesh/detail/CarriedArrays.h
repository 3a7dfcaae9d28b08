#pragma once

#include <functional>
#include <span>
#include <vector>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Carries the arrays that hosts gave a mesh along when its positions or faces are numbered anew, and the
/// smoothed normals with the positions.
class CarriedArrays
{
public:
    explicit CarriedArrays(Mesh& mesh) : _mesh(mesh) {}
    CarriedArrays(const CarriedArrays&) = delete;
    CarriedArrays& operator=(const CarriedArrays&) = delete;
    ~CarriedArrays();

    /// Whether there are any of the kind, PER_POSITION or PER_FACE.
    bool has(MeshArrayInf::Flag kind) const;
    /// Makes what becomes of those of the kind that hold a fixed number of elements for each of the `count`
    /// old positions or faces; number n in the new order was `numbers[n]`. Calls change(array, fresh), where
    /// there is one, with each and what was made of it. False when goOn() stopped it.
    bool gather(MeshArrayInf::Flag kind, uint32 count, std::span<const uint32> numbers,
                const std::function<bool()>& goOn,
                const std::function<void(ArrayHandle array, ArrayHandle fresh)>& change = {});
    /// Gives the mesh what was made.
    void finish();

private:
    /// An array of the mesh, and what it becomes.
    struct Change
    {
        ArrayHandle array, fresh;
    };

    Mesh& _mesh;
    std::vector<Change> _changes;
};

}  // namespace tavrix::detail
