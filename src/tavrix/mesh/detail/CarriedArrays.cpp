#include <tavrix/mesh/detail/CarriedArrays.h>

namespace tavrix::detail
{

namespace
{

/// The arrays outside the slots that carry the flag, and the smoothed normals, one a position.
std::vector<ArrayHandle> arraysOf(const Mesh& mesh, MeshArrayInf::Flag kind)
{
    std::vector<ArrayHandle> found;
    const ArraySet<MeshArrayInf>& arrays = mesh.getArraySet();
    for (uint32 i = 0; i < arrays.size(); ++i)
    {
        const bool inSlot = mesh.isInSlot(arrays.handle(i));
        if (!inSlot && (arrays.inf(i).flags & kind) != 0) found.push_back(arrays.handle(i));
    }
    if (kind == MeshArrayInf::PER_POSITION && !mesh.getArrNorSurface().isNone())
        found.push_back(mesh.getArrNorSurface());
    return found;
}

}  // namespace

CarriedArrays::~CarriedArrays()
{
    for (const Change& change : _changes) TX_ArrayServer::instance().release(change.fresh);
}

bool CarriedArrays::has(MeshArrayInf::Flag kind) const { return !arraysOf(_mesh, kind).empty(); }

bool CarriedArrays::gather(MeshArrayInf::Flag kind, uint32 count, std::span<const uint32> numbers,
                           const std::function<bool()>& goOn,
                           const std::function<void(ArrayHandle array, ArrayHandle fresh)>& change)
{
    TX_ArrayServer& server = TX_ArrayServer::instance();
    bool isStopped = false;
    const auto goOnUnlessStopped = [&] { return !(isStopped = isStopped || !goOn()); };
    for (const ArrayHandle array : arraysOf(_mesh, kind))
    {
        const uint32 size = server.size(array);
        if (count == 0 || size == 0 || size % count != 0) continue;
        const ArrayHandle fresh = server.gather(array, numbers, size / count, goOnUnlessStopped);
        if (isStopped) return false;
        if (fresh.isNone()) continue;
        _changes.push_back({array, fresh});
        if (change) change(array, fresh);
    }
    return true;
}

void CarriedArrays::finish()
{
    for (const Change& change : _changes) TX_ArrayServer::instance().swapContents(change.array, change.fresh);
}

}  // namespace tavrix::detail
