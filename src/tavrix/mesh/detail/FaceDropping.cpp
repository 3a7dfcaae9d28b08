#include <tavrix/mesh/detail/FaceDropping.h>

#include <numeric>

#include <tavrix/mesh/detail/CarriedArrays.h>

namespace tavrix::detail
{

namespace
{

template <class T>
void erase(Array<T>& elements, const std::vector<uint32>& numbers)
{
    uint32 kept = numbers.front();
    for (uint32 n = kept, next = 0; n < elements.size(); ++n)
        if (next < numbers.size() && numbers[next] == n)
            ++next;
        else
            elements[kept++] = elements[n];
    elements.resize(kept);
}

}  // namespace

void dropFaces(Mesh& mesh, const std::vector<uint32>& numbers)
{
    if (numbers.empty()) return;
    const uint32 before = mesh.getFacesSize();
    CarriedArrays carried(mesh);
    if (carried.has(MeshArrayInf::PER_FACE))
    {
        Array<uint32> kept(before);
        std::iota(kept.begin(), kept.end(), 0u);
        erase(kept, numbers);
        carried.gather(MeshArrayInf::PER_FACE, before, {kept.data(), kept.size()}, [] { return true; });
    }
    erase(mesh.refTrindexPos(), numbers);
    if (mesh.trindexNor().size() == before) erase(mesh.refTrindexNor(), numbers);
    if (mesh.faceNor().size() == before) erase(mesh.refFaceNor(), numbers);
    carried.finish();
    mesh.invalidateConnectivity();
}

}  // namespace tavrix::detail
