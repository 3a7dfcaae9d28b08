#include <tavrix/meshproc/detail/VertexArrays.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

namespace
{

bool isInSlot(const Mesh& mesh, ArrayHandle array)
{
    for (uint32 slot = 0; slot < meshSlotCount; ++slot)
        if (mesh.handleOf(static_cast<Mesh::Slot>(slot)) == array) return true;
    return false;
}

template <class Number>
void blendNumbers(Number* kept, const Number* gone, uint32 count, double t)
{
    for (uint32 n = 0; n < count; ++n) kept[n] = static_cast<Number>(kept[n] * (1 - t) + gone[n] * t);
}

template <class T>
bool haveEqual(ArrayHandle array, uint32 stride, uint32 a, uint32 b, bool& areEqual)
{
    const Array<T>* values = TX_ArrayServer::instance().get<Array<T>>(array);
    if (!values) return false;
    const T* const begin = values->data();
    areEqual = std::equal(begin + std::size_t{stride} * a, begin + std::size_t{stride} * (a + 1),
                          begin + std::size_t{stride} * b);
    return true;
}

}  // namespace

VertexArrays::VertexArrays(const Mesh& mesh) : VertexArrays()
{
    add(mesh, MeshArrayInf::PER_POSITION, mesh.getPosSize(), _perPosition);
    add(mesh, MeshArrayInf::PER_FACE, mesh.getFacesSize(), _perFace);
    if (_perPosition.empty()) return;
    _sources.resize(mesh.getPosSize());
    std::iota(_sources.begin(), _sources.end(), 0u);
}

VertexArrays::~VertexArrays()
{
    for (const std::vector<Copy>* copies : {&_perPosition, &_perFace})
        for (const Copy& copy : *copies) TX_ArrayServer::instance().release(copy.values);
}

template <class Number, class Element>
bool VertexArrays::view(Copy& copy, Number* Copy::*numbers)
{
    Array<Element>* values = TX_ArrayServer::instance().get<Array<Element>>(copy.values);
    if (!values) return false;
    copy.*numbers = reinterpret_cast<Number*>(values->data());
    copy.numbersAVertex = copy.stride * static_cast<uint32>(sizeof(Element) / sizeof(Number));
    return true;
}

void VertexArrays::findNumbers(Copy& copy)
{
    (void)(view<float, float>(copy, &Copy::floats) || view<float, Vector2F>(copy, &Copy::floats) ||
           view<float, Vector3F>(copy, &Copy::floats) || view<float, Wector3F>(copy, &Copy::floats) ||
           view<float, Color4F>(copy, &Copy::floats) || view<double, double>(copy, &Copy::doubles) ||
           view<double, Vector3D>(copy, &Copy::doubles));
}

void VertexArrays::add(const Mesh& mesh, uint32 flag, uint32 count, std::vector<Copy>& copies)
{
    TX_ArrayServer& server = TX_ArrayServer::instance();
    const ArraySet<MeshArrayInf>& arrays = mesh.getArraySet();
    for (uint32 n = 0; n < arrays.size(); ++n)
    {
        const ArrayHandle array = arrays.handle(n);
        const uint32 size = server.size(array);
        if ((arrays.inf(n).flags & flag) == 0 || isInSlot(mesh, array) || size == 0 || size % count != 0)
            continue;
        copies.reserve(copies.size() + 1);
        Copy copy{array, server.copy(array), size / count, nullptr, nullptr, 0};
        findNumbers(copy);
        copies.push_back(copy);
    }
}

bool VertexArrays::areEqual(uint32 a, uint32 b) const
{
    return std::all_of(
        _perPosition.begin(), _perPosition.end(),
        [&](const Copy& copy)
        {
            const std::size_t n = copy.numbersAVertex;
            if (copy.floats)
                return std::equal(copy.floats + n * a, copy.floats + n * (a + 1), copy.floats + n * b);
            if (copy.doubles)
                return std::equal(copy.doubles + n * a, copy.doubles + n * (a + 1), copy.doubles + n * b);
            bool equal = false;
            (void)(haveEqual<uint8>(copy.values, copy.stride, a, b, equal) ||
                   haveEqual<uint16>(copy.values, copy.stride, a, b, equal) ||
                   haveEqual<int32>(copy.values, copy.stride, a, b, equal) ||
                   haveEqual<uint32>(copy.values, copy.stride, a, b, equal));
            return equal;
        });
}

void VertexArrays::blend(uint32 kept, uint32 gone, double t)
{
    if (t > 0.5) _sources[kept] = _sources[gone];
    for (const Copy& copy : _perPosition)
    {
        const std::size_t n = copy.numbersAVertex;
        if (copy.floats) blendNumbers(copy.floats + n * kept, copy.floats + n * gone, copy.numbersAVertex, t);
        if (copy.doubles)
            blendNumbers(copy.doubles + n * kept, copy.doubles + n * gone, copy.numbersAVertex, t);
    }
}

bool VertexArrays::gather(std::vector<Copy>& copies, const Array<uint32>& numbers, Polling& polling)
{
    TX_ArrayServer& server = TX_ArrayServer::instance();
    Array<uint32> sources;
    for (Copy& copy : copies)
    {
        const bool isBlended = copy.floats || copy.doubles || &copies == &_perFace;
        if (!isBlended && sources.empty())
            for (const uint32 n : numbers) sources.push_back(_sources[n]);
        const Array<uint32>& from = isBlended ? numbers : sources;
        const ArrayHandle gathered = server.gather(copy.values, {from.data(), from.size()}, copy.stride,
                                                   [&] { return polling.goOn(); });
        if (polling.isStopped()) return false;
        if (gathered.isNone()) continue;
        server.release(std::exchange(copy.values, gathered));
        findNumbers(copy);
    }
    return true;
}

bool VertexArrays::gather(const Array<uint32>& vertices, const Array<uint32>& faces, Polling& polling)
{
    return gather(_perPosition, vertices, polling) && gather(_perFace, faces, polling);
}

bool VertexArrays::addMiddles(const Array<Tuple2<uint32, uint32>>& ends, const Array<uint32>& faces,
                              Polling& polling)
{
    if (empty()) return gather(_perFace, faces, polling);
    const uint32 first = _sources.size();
    for (const auto& [a, b] : ends) _sources.push_back(uint32(_sources[a]));
    if (!gather(_sources, faces, polling)) return false;
    for (const uint32 n : PolledNumbers(ends.size(), scatteredItems, polling))
        for (const Copy& copy : _perPosition)
        {
            const std::size_t count = copy.numbersAVertex;
            const auto setMiddle = [&](auto* numbers)
            {
                std::copy_n(numbers + count * ends[n].a, count, numbers + count * (first + n));
                blendNumbers(numbers + count * (first + n), numbers + count * ends[n].b, copy.numbersAVertex,
                             0.5);
            };
            if (copy.floats) setMiddle(copy.floats);
            if (copy.doubles) setMiddle(copy.doubles);
        }
    std::iota(_sources.begin(), _sources.end(), 0u);
    return polling.goOn();
}

void VertexArrays::handOver()
{
    for (std::vector<Copy>* copies : {&_perPosition, &_perFace})
        for (const Copy& copy : *copies) TX_ArrayServer::instance().swapContents(copy.original, copy.values);
}

}  // namespace tavrix::detail
