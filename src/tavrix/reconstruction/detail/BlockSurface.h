#pragma once

#include <memory>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/reconstruction/detail/BlockMarching.h>

// What a block gives to the mesh, kept until all blocks are done.

namespace tavrix::detail
{

/// Elements in a row, in a piece of memory that they share with others.
template <class T>
struct StoredRun
{
    std::shared_ptr<const T[]> elements;
    uint32 count = 0;

    const T* begin() const { return elements.get(); }
    const T* end() const { return elements.get() + count; }
    const T& operator[](std::size_t n) const { return elements.get()[n]; }
};

/// Keeps copies of runs of elements, in large pieces of memory. A piece goes back to the system with the last
/// of its runs.
template <class T>
class RunStore
{
public:
    StoredRun<T> store(const T* elements, std::size_t size)
    {
        const auto count = static_cast<uint32>(size);
        if (!_piece || _piece->capacity - _piece->size < count)
            _piece = std::make_shared<Piece>(std::max(elementsPerPiece, count));
        T* const run = _piece->elements.get() + _piece->size;
        std::copy_n(elements, count, run);
        _piece->size += count;
        return {{_piece, run}, count};
    }
    template <class Elements>
    StoredRun<T> store(const Elements& elements)
    {
        return store(elements.data(), elements.size());
    }

private:
    static constexpr uint32 elementsPerPiece = (1u << 20) / sizeof(T);

    struct Piece
    {
        explicit Piece(uint32 count) : elements(new T[count]), capacity(count) {}
        Piece(const Piece&) = delete;
        Piece& operator=(const Piece&) = delete;
        ~Piece() { returnPages(elements.get(), std::size_t{capacity} * sizeof(T)); }

        std::unique_ptr<T[]> elements;
        uint32 capacity, size = 0;
    };

    std::shared_ptr<Piece> _piece;
};

/// The surface of a block that has one; see BlockMarching.
struct BlockSurface
{
    BlockIndex block;
    StoredRun<Vector3D> vertices;
    StoredRun<Index3> faces;
    StoredRun<BlockEdge> foreignEdges;
    StoredRun<SharedVertex> sharedVertices;
    StoredRun<VertexAtNode> verticesAtNodes;
};

/// Keeps the surfaces that one worker makes.
class BlockSurfaceStore
{
public:
    BlockSurface store(const BlockIndex& block, const BlockMarching& marching)
    {
        return {block,
                _vertices.store(marching.vertices(), marching.vertexCount()),
                _faces.store(marching.faces(), marching.faceCount()),
                _foreignEdges.store(marching.foreignEdges()),
                _sharedVertices.store(marching.sharedVertices()),
                _verticesAtNodes.store(marching.verticesAtNodes())};
    }

private:
    RunStore<Vector3D> _vertices;
    RunStore<Index3> _faces;
    RunStore<BlockEdge> _foreignEdges;
    RunStore<SharedVertex> _sharedVertices;
    RunStore<VertexAtNode> _verticesAtNodes;
};

}  // namespace tavrix::detail
