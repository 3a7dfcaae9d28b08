#include <tavrix/mesh/Mesh.h>

#include <algorithm>
#include <type_traits>
#include <utility>

namespace tavrix
{

namespace
{

using Slot = Mesh::Slot;
using Inf = MeshArrayInf;

constexpr const char* nameless = "Nameless";

struct SlotInf
{
    const char* name;
    uint32 flags;
};

constexpr std::array<SlotInf, meshSlotCount> slotInfs{{
    {"Pos", Inf::POSITIONS_DATA | Inf::POINT},
    {"Nor", Inf::DIRECTION | Inf::POSITIONS_DATA},
    {"FaceNor", Inf::DIRECTION | Inf::PER_FACE},
    {"TrindexPos", Inf::INDEX_TRIPLE | Inf::PER_FACE},
    {"TrindexNor", Inf::INDEX_TRIPLE | Inf::PER_FACE},
    {"TrindexFacedge", Inf::PER_FACE},
    {"BindexFacedge", Inf::BINDEX},
    {"BindexPos", Inf::BINDEX},
    {"PosPosInfo", Inf::BLOCK_INFO | Inf::PER_POSITION},
    {"PosPosData", Inf::BLOCK_DATA},
    {"PosEdgeInfo", Inf::BLOCK_INFO | Inf::PER_POSITION},
    {"PosEdgeData", Inf::BLOCK_DATA},
    {"PosFaceInfo", Inf::BLOCK_INFO | Inf::PER_POSITION},
    {"PosFaceData", Inf::BLOCK_DATA},
    {"NorAllSmoothed", Inf::DIRECTION | Inf::SMOOTHED | Inf::PER_POSITION},
}};

constexpr std::array focusOrder{
    Slot::TrindexPos,     Slot::TrindexNor,     Slot::Pos,           Slot::Nor,
    Slot::FaceNor,        Slot::TrindexFacedge, Slot::BindexFacedge, Slot::BindexPos,
    Slot::PosPosInfo,     Slot::PosPosData,     Slot::PosEdgeInfo,   Slot::PosEdgeData,
    Slot::NorAllSmoothed, Slot::PosFaceInfo,    Slot::PosFaceData};
constexpr uint32 alwaysPresentCount = 6;  // the first of focusOrder

const SlotInf& infOf(Slot slot) { return slotInfs[static_cast<uint32>(slot)]; }

/// Calls visit(std::type_identity<T>) with the element type of the slot.
template <class Visit>
auto withElementType(Slot slot, const Visit& visit)
{
    switch (slot)
    {
        case Slot::Pos:
            return visit(std::type_identity<Vector3D>{});
        case Slot::Nor:
        case Slot::NorAllSmoothed:
            return visit(std::type_identity<Vector3F>{});
        case Slot::FaceNor:
            return visit(std::type_identity<Wector3F>{});
        case Slot::TrindexPos:
        case Slot::TrindexNor:
            return visit(std::type_identity<Index3>{});
        case Slot::TrindexFacedge:
            return visit(std::type_identity<FacedgeTriple>{});
        case Slot::PosPosInfo:
        case Slot::PosEdgeInfo:
        case Slot::PosFaceInfo:
            return visit(std::type_identity<BlockDesc>{});
        default:
            return visit(std::type_identity<uint32>{});
    }
}

TX_ArrayServer& server() { return TX_ArrayServer::instance(); }

}  // namespace

Mesh::Mesh() { constructorCommon(); }

Mesh::Mesh(const Mesh& other)
{
    constructorCommon();
    copyFrom(other, true);
}

Mesh::Mesh(Mesh&& other) noexcept
{
    reincarnate(other);
    _renderObject = std::exchange(other._renderObject, nullptr);
}

Mesh& Mesh::operator=(const Mesh& other)
{
    if (this != &other) copyFrom(other, true);
    return *this;
}

Mesh& Mesh::operator=(Mesh&& other) noexcept
{
    if (this == &other) return *this;
    reincarnate(other);
    setMesh_RL(std::exchange(other._renderObject, nullptr));
    return *this;
}

Mesh::~Mesh() { destroy(); }

void Mesh::constructorCommon()
{
    _name = TX_String(nameless);
    registerAlwaysPresentArrays();
    _renderObject = nullptr;
}

void Mesh::registerAlwaysPresentArrays()
{
    for (uint32 i = 0; i < alwaysPresentCount; ++i)
        if (handleOf(focusOrder[i]).isNone()) createSlot(focusOrder[i]);
}

void Mesh::registerSlot(Slot slot)
{
    _arraySet.add(handleOf(slot), {infOf(slot).flags, TX_String(infOf(slot).name)});
}

void Mesh::createSlot(Slot slot)
{
    fillSlot(slot, withElementType(
                       slot, []<class T>(std::type_identity<T>) { return server().create<Array<T>>(); }));
}

/// Puts an array whose reference passes to this mesh into an empty slot and registers it.
void Mesh::fillSlot(Slot slot, ArrayHandle handle)
{
    _handles[static_cast<uint32>(slot)] = handle;
    try
    {
        registerSlot(slot);
    }
    catch (...)
    {
        releaseSlot(slot);
        throw;
    }
}

void Mesh::releaseSlot(Slot slot)
{
    const ArrayHandle handle = std::exchange(_handles[static_cast<uint32>(slot)], ArrayHandle{});
    if (handle.isNone()) return;
    if (!_arraySet.release(handle)) server().release(handle);
}

void Mesh::releaseAllArrays()
{
    for (uint32 i = 0; i < alwaysPresentCount; ++i) releaseSlot(focusOrder[i]);
    for (uint32 slot = alwaysPresentCount; slot < meshSlotCount; ++slot) releaseSlot(static_cast<Slot>(slot));
    for (uint32 i = _arraySet.size(); i-- > 0;)
        if ((_arraySet.inf(i).flags & Inf::LIFE_CYCLE) == 0) _arraySet.forget(i);
    _arraySet.clear();
}

const Box3D& Mesh::getBox() const
{
    if ((_flags & boxValid) == 0) workBox();
    return _box;
}

void Mesh::workBox() const
{
    Box3D box = Box3D::empty();
    for (const Vector3D& p : pos()) box.extend(p);
    _box = box;
    _flags |= boxValid;
}

template <class T>
const Array<T>& Mesh::read(Slot slot) const
{
    static const Array<T> none;
    const Array<T>* array = server().get<Array<T>>(handleOf(slot));
    return array ? *array : none;
}

Array<Vector3D>& Mesh::refPos() { return require<Vector3D>(Slot::Pos); }
Array<Vector3F>& Mesh::refNor() { return require<Vector3F>(Slot::Nor); }
Array<Wector3F>& Mesh::refFaceNor() { return require<Wector3F>(Slot::FaceNor); }
Array<Index3>& Mesh::refTrindexPos() { return require<Index3>(Slot::TrindexPos); }
Array<Index3>& Mesh::refTrindexNor() { return require<Index3>(Slot::TrindexNor); }
Array<FacedgeTriple>& Mesh::refTrindexFacedge() { return require<FacedgeTriple>(Slot::TrindexFacedge); }

const Array<Vector3D>& Mesh::pos() const { return read<Vector3D>(Slot::Pos); }
const Array<Vector3F>& Mesh::nor() const { return read<Vector3F>(Slot::Nor); }
const Array<Wector3F>& Mesh::faceNor() const { return read<Wector3F>(Slot::FaceNor); }
const Array<Index3>& Mesh::trindexPos() const { return read<Index3>(Slot::TrindexPos); }
const Array<Index3>& Mesh::trindexNor() const { return read<Index3>(Slot::TrindexNor); }
const Array<FacedgeTriple>& Mesh::trindexFacedge() const { return read<FacedgeTriple>(Slot::TrindexFacedge); }
const Array<uint32>& Mesh::bindexFacedge() const { return read<uint32>(Slot::BindexFacedge); }
const Array<uint32>& Mesh::bindexPos() const { return read<uint32>(Slot::BindexPos); }
const Array<BlockDesc>& Mesh::posPosInfo() const { return read<BlockDesc>(Slot::PosPosInfo); }
const Array<uint32>& Mesh::posPosData() const { return read<uint32>(Slot::PosPosData); }
const Array<BlockDesc>& Mesh::posEdgeInfo() const { return read<BlockDesc>(Slot::PosEdgeInfo); }
const Array<uint32>& Mesh::posEdgeData() const { return read<uint32>(Slot::PosEdgeData); }
const Array<BlockDesc>& Mesh::posFaceInfo() const { return read<BlockDesc>(Slot::PosFaceInfo); }
const Array<uint32>& Mesh::posFaceData() const { return read<uint32>(Slot::PosFaceData); }
const Array<Vector3F>& Mesh::norSurface() const { return read<Vector3F>(Slot::NorAllSmoothed); }

void Mesh::setHandle(Slot slot, ArrayHandle handle)
{
    releaseSlot(slot);
    _handles[static_cast<uint32>(slot)] = handle;
}

void Mesh::focusHandlesToInternalArrays()
{
    ArraySet<MeshArrayInf> extras = std::move(_arraySet);
    for (const Slot slot : focusOrder)
    {
        const uint32 entry = extras.find(handleOf(slot));
        if (entry != noIndex) extras.forget(entry);
    }
    for (const Slot slot : focusOrder)
        if (!handleOf(slot).isNone()) registerSlot(slot);
    const uint32 smoothed = _arraySet.find(handleOf(Slot::NorAllSmoothed));
    if (smoothed != noIndex) _arraySet.inf(smoothed).flags = Inf::DIRECTION | Inf::SMOOTHED | Inf::PER_FACE;
    while (!extras.empty())
    {
        _arraySet.add(extras.handle(0), extras.inf(0));
        extras.forget(0);
    }
}

void Mesh::unreserve()
{
    _name = TX_String(nameless);
    invalidateBox();
    _box = Box3D::empty();
    releaseAllArrays();
    registerAlwaysPresentArrays();
}

void Mesh::reserveTight()
{
    for (const Slot slot : focusOrder)
        withElementType(slot,
                        [&]<class T>(std::type_identity<T>)
                        {
                            auto* array = server().get<Array<T>>(handleOf(slot));
                            if (array && array->capacity() != array->size()) array->reserve(array->size());
                        });
}

void Mesh::destroy()
{
    setMesh_RL(nullptr);
    _name = TX_String(nameless);
    invalidateBox();
    _box = Box3D::empty();
    _id = noIndex;
    releaseAllArrays();
}

void Mesh::addStringDescription(TX_String& text) const
{
    const uint32 needed = text.size() + 128;
    if (needed > text.capacity())
        text.reserve(text.capacity() + std::max(needed - text.capacity(), text.capacity() / 8 + 4));
    text.append("*MESH DESCRIPTION* \n");
    text.append("{\n");
    text.appendFormat("\tName: %s \n", _name.c_str());
    text.appendFormat("\tNum Vertex-Positions: %d \n", static_cast<int>(getPosSize()));
    text.appendFormat("\tNum Vertex-Normals: %d \n", static_cast<int>(nor().size()));
    text.appendFormat("\tNum Faces: %d \n", static_cast<int>(getFacesSize()));
    text.append("}\n");
}

void Mesh::invalidateConnectivityBasic() { releaseSlot(Slot::TrindexFacedge); }

void Mesh::invalidateConnectivityDerived()
{
    for (auto slot = static_cast<uint32>(Slot::BindexFacedge); slot <= static_cast<uint32>(Slot::PosFaceData);
         ++slot)
        releaseSlot(static_cast<Slot>(slot));
}

void Mesh::invalidateConnectivity()
{
    invalidateConnectivityBasic();
    invalidateConnectivityDerived();
}

void Mesh::setMesh_RL(Mesh_RL* renderObject)
{
    if (renderObject != _renderObject) delete std::exchange(_renderObject, renderObject);
}

void Mesh::initializeRenderObject()
{
    if (!_renderObject) _renderObject = FactoryOwnerT<Mesh_RL_factory>::getFactory().create();
}

void Mesh::render() const
{
    if (_renderObject) _renderObject->render(*this);
}

void Mesh::render(const Color4F& color) const
{
    if (_renderObject) _renderObject->render(*this, color);
}

Mesh_RL_Shader* Mesh::getShader() const { return _renderObject ? _renderObject->getShader() : nullptr; }

void Mesh::setShader(Mesh_RL_Shader* shader)
{
    if (_renderObject) _renderObject->setShader(shader);
}

}  // namespace tavrix
