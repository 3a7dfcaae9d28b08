#pragma once

#include <array>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Mesh_RL.h>
#include <tavrix/foundation/Wector3.h>
#include <tavrix/mesh/IndexFacedge.h>
#include <tavrix/mesh/MeshArrayInf.h>
#include <tavrix/platform/ArraySet.h>

namespace tavrix
{

namespace detail
{
class Polling;
}
class FileRam;
class FileStreamEndian;
class FileStreamRaw;

/// How Mesh::copyConnectivityFrom copies: sharing the arrays, or their contents.
enum class TX_CopyMode
{
    Shallow,
    Deep
};

/// Number of array slots of a mesh.
inline constexpr uint32 meshSlotCount = 15;

/// A triangle mesh: named arrays in the array store, a name, an id, a cached bounding box and an optional
/// render object.
///
/// Face f has the corner positions pos()[t] for the three t of trindexPos()[f] and the corner normals
/// nor()[u] for the u of trindexNor()[f], so a position may carry several normals. Positions are double,
/// normals single precision. Connectivity arrays are built on demand (the createSafe_ operations) and thrown
/// away when the faces change (invalidateConnectivity). Whoever writes through a ref… accessor calls the
/// invalidate… operation that fits.
///
/// When memory runs out, copying and assigning leave a mesh without arrays, and addMesh leaves it as it was.
///
/// Indices inside the arrays are not checked here; hasValidIndices (MeshTopology.h) tells whether they hold.
/// Meshes may be used by different threads at once, one mesh by one thread; reading one const mesh from
/// several is safe once its box is valid.
class TX_GEOMETRY_API Mesh
{
public:
    /// The array slots, in member order; see the typed accessors below.
    enum class Slot : uint32
    {
        Pos,
        Nor,
        FaceNor,
        TrindexPos,
        TrindexNor,
        TrindexFacedge,
        BindexFacedge,
        BindexPos,
        PosPosInfo,
        PosPosData,
        PosEdgeInfo,
        PosEdgeData,
        PosFaceInfo,
        PosFaceData,
        NorAllSmoothed
    };

    /// An empty mesh named "Nameless", with its six always-present arrays registered.
    Mesh();
    /// As copyFrom with the name.
    Mesh(const Mesh& other);
    /// As reincarnate, and the render object too.
    Mesh(Mesh&& other) noexcept;
    /// As the constructors.
    /// @{
    Mesh& operator=(const Mesh& other);
    Mesh& operator=(Mesh&& other) noexcept;
    /// @}
    /// As destroy.
    virtual ~Mesh();

    /// The name, under which files know the mesh, and a number that is the host's to use, all ones at first.
    /// @{
    const TX_String& getName() const { return _name; }
    void setName(const char* name) { _name = TX_String(name); }
    void setName(const TX_String& name) { _name = name; }
    void addSuffixToName(const char* suffix) { _name.append(TX_String(suffix).view()); }
    void addSuffixToName(const TX_String& suffix) { _name.append(suffix.view()); }
    uint32 getId() const { return _id; }
    void setId(uint32 id) { _id = id; }
    /// @}
    /// Bit 0: the cached box is valid.
    uint32 getFlags() const { return _flags; }

    /// How many positions and faces there are.
    /// @{
    uint32 getPosSize() const { return pos().size(); }
    uint32 getFacesSize() const { return trindexPos().size(); }
    /// @}
    /// True when there is no face; positions alone do not make a mesh.
    bool isEmpty() const { return getFacesSize() == 0; }

    /// The smallest box of all positions, from the cache when it is valid; Box3D::empty() without positions.
    const Box3D& getBox() const;
    /// Recomputes the cached box and makes it valid.
    void workBox() const;
    /// For whoever moved positions: the next getBox computes the box anew.
    void invalidateBox() const { _flags &= ~boxValid; }

    /// The arrays that always exist. An accessor for writing registers an array that destroy or a release
    /// took away; one for reading answers with an empty array then. A reference holds until its array is
    /// released.
    /// @{
    Array<Vector3D>& refPos();
    Array<Vector3F>& refNor();
    Array<Wector3F>& refFaceNor();
    Array<Index3>& refTrindexPos();
    Array<Index3>& refTrindexNor();
    Array<FacedgeTriple>& refTrindexFacedge();
    const Array<Vector3D>& pos() const;
    const Array<Vector3F>& nor() const;
    /// Unit normal and, in the fourth component, the area of each face.
    const Array<Wector3F>& faceNor() const;
    const Array<Index3>& trindexPos() const;
    const Array<Index3>& trindexNor() const;
    /// @}

    /// Connectivity and smoothed normals, empty until built.
    /// @{
    const Array<FacedgeTriple>& trindexFacedge() const;
    const Array<uint32>& bindexFacedge() const;
    const Array<uint32>& bindexPos() const;
    const Array<BlockDesc>& posPosInfo() const;
    const Array<uint32>& posPosData() const;
    const Array<BlockDesc>& posEdgeInfo() const;
    const Array<uint32>& posEdgeData() const;
    const Array<BlockDesc>& posFaceInfo() const;
    const Array<uint32>& posFaceData() const;
    const Array<Vector3F>& norSurface() const;
    /// @}

    /// The handles in the slots, as handleOf gives them.
    /// @{
    const ArrayHandle& getArrPos() const { return handleOf(Slot::Pos); }
    const ArrayHandle& getArrNor() const { return handleOf(Slot::Nor); }
    const ArrayHandle& getArrFaceNor() const { return handleOf(Slot::FaceNor); }
    const ArrayHandle& getArrTrindexPos() const { return handleOf(Slot::TrindexPos); }
    const ArrayHandle& getArrTrindexNor() const { return handleOf(Slot::TrindexNor); }
    const ArrayHandle& getArrTrindexFacedge() const { return handleOf(Slot::TrindexFacedge); }
    const ArrayHandle& getArrBindexPos() const { return handleOf(Slot::BindexPos); }
    const ArrayHandle& getArrNorSurface() const { return handleOf(Slot::NorAllSmoothed); }
    const ArrayHandle& getArrPosPosInfo() const { return handleOf(Slot::PosPosInfo); }
    const ArrayHandle& getArrPosPosData() const { return handleOf(Slot::PosPosData); }
    /// @}
    /// The handle in any slot; none when the slot holds no array.
    const ArrayHandle& handleOf(Slot slot) const { return _handles[static_cast<uint32>(slot)]; }
    /// Whether the array is in one of the slots: not one that a host added.
    bool isInSlot(ArrayHandle handle) const;
    /// Every registered array, those in slots and the extra ones, with flags and name.
    const ArraySet<MeshArrayInf>& getArraySet() const { return _arraySet; }

    /// Copies flags and name of the handle's entry into `inf`; false, and `inf` untouched, when it is not
    /// registered.
    bool getMeshArrayInf(MeshArrayInf& inf, ArrayHandle handle) const;

    /// Puts an array into a slot from outside, taking over the caller's reference and giving the former
    /// array's back. When all are in place, focusHandlesToInternalArrays registers them.
    void setHandle(Slot slot, ArrayHandle handle);
    /// Registers the arrays in all slots anew, under their names and flags, in the library's order, before
    /// the extra arrays; empty slots are skipped. It registers "NorAllSmoothed" as PER_FACE where
    /// createSafe_arrNorSurface says PER_POSITION: the difference is part of the interface and stays.
    void focusHandlesToInternalArrays();

    /// Registers a new extra array (texture coordinates, velocities, …), which dies with the mesh. A second
    /// array of the same name may be added; findArray answers with the first.
    template <class T>
    Array<T>& addArray(const TX_String& name, uint32 flags = MeshArrayInf::PER_POSITION)
    {
        const ArrayHandle handle = TX_ArrayServer::instance().create<Array<T>>();
        addArray(handle, name, flags | MeshArrayInf::LIFE_CYCLE);
        return *TX_ArrayServer::instance().get<Array<T>>(handle);
    }
    /// Registers an array of the caller's. With LIFE_CYCLE in the flags the mesh takes over the caller's
    /// reference; without, the array stays the caller's and outlives the mesh.
    void addArray(ArrayHandle handle, const TX_String& name, uint32 flags);
    /// The first registered array of that name, slots included; none when there is none.
    ArrayHandle findArray(const TX_String& name) const;
    /// The same as a typed array; null when there is none or its elements are of another type.
    template <class T>
    Array<T>* findArray(const TX_String& name) const
    {
        return TX_ArrayServer::instance().get<Array<T>>(findArray(name));
    }

    /// Marks a registered extra array as dying with the mesh, which takes over the reference that registered
    /// it. Arrays in slots always die with the mesh: a host that wants to keep one shares it with the array
    /// store first.
    void attachToLifeCycle(ArrayHandle handle);
    /// Takes the mark away: the array outlives the mesh, and its reference is the caller's to release.
    void detachFromLifeCycle(ArrayHandle handle);
    /// Releases a registered array, whatever its mark, and empties the slot that held it; false for none and
    /// for an array that is not registered here.
    /// @{
    bool releaseArray(ArrayHandle handle, TX_SAFE);
    bool releaseArray(ArrayHandle handle);
    void destroyArray(ArrayHandle handle) { releaseArray(handle); }
    /// @}

    /// Makes `dst` share the array `src` of the other mesh. The entry and the slot of the former `dst`
    /// follow; a `dst` that was none is registered under the flags and the name of `src`. False, and nothing
    /// changed, when `src` is no array.
    bool copyArrayShallow(ArrayHandle& dst, const Mesh& other, ArrayHandle src);
    /// Copies the contents of `src` into the array `dst`; false unless both exist and have one element type.
    bool copyArrayDeep(ArrayHandle dst, const Mesh& other, ArrayHandle src);
    /// As copyArrayShallow: an array that `dst` holds is released first.
    bool createArrayCopyShallow(ArrayHandle& dst, const Mesh& other, ArrayHandle src);
    /// Releases the array that `dst` holds and gives it a new one with the contents of `src`, registered
    /// likewise.
    bool createArrayCopyDeep(ArrayHandle& dst, const Mesh& other, ArrayHandle src);

    /// Makes this mesh a deep copy: name (if asked for, else "Nameless"), id, flags, box, the six
    /// always-present arrays and the derived ones that the other mesh holds, except the position-to-face
    /// lists, which stay behind on purpose. Arrays of this mesh are released first. Copying a mesh onto
    /// itself does nothing.
    void copyFrom(const Mesh& other, bool copyName);
    /// copyFrom, and also the position-to-face lists and the extra arrays; the copies of those die with this
    /// mesh.
    void copyAllFrom(const Mesh& other, bool copyName);
    /// Makes this mesh the connected part (by shared positions) of the other mesh that holds the face
    /// `seedFace`: its faces in their order, its positions and normals in the order of their old numbers, and
    /// the face normals. `sourcePositions` receives the old number of every position. Empty when there is no
    /// such face. Normals and their triples stay behind when there is not a normal for every triple. O(other
    /// mesh).
    void copyPartialFrom(const Mesh& other, uint32 seedFace, Array<uint32>& sourcePositions);
    /// Takes the other mesh's connectivity (the arrays TrindexFacedge to PosFaceData), shared or copied; what
    /// the other mesh does not hold is released here. The faces of both meshes must be the same.
    void copyConnectivityFrom(TX_CopyMode mode, const Mesh& other);
    /// Takes over everything but the render object from the other mesh, without copying; the other is left as
    /// after destroy. This mesh keeps its own render object.
    void reincarnate(Mesh& other) noexcept;

    /// Resets name and box and releases all arrays, so that an empty mesh with the six always-present arrays
    /// remains; id and render object stay.
    void unreserve();
    /// Cuts the capacity of every array in a slot down to its size.
    void reserveTight();
    /// Ends as a mesh without arrays, name "Nameless", id all ones, box empty, render object deleted. It may
    /// be filled again: the accessors for writing bring the arrays back.
    void destroy();
    /// As destroy.
    void clear() { destroy(); }

    /// Appends the other mesh's positions, normals and faces (a mesh may be added to itself). Face normals,
    /// normal triples and face-edges are appended when both meshes hold one for every face (and normals for
    /// the triples to name), and emptied otherwise. Everything derived is released, to be rebuilt on demand.
    /// Joining many meshes is linear in their sum: arrays grow by an eighth (reserveTight gives it back).
    void addMesh(const Mesh& other);

    /// Makes a mesh of the name, positions and position triples, with normals as createNormals(creaseAngle)
    /// makes them; creaseAngle in radians. What the mesh held before is released; id and render object stay.
    void assign(const TX_String& name, const Array<Vector3D>& positions, const Array<Index3>& triples,
                double creaseAngle);
    /// Replaces positions, normals and faces by the cube of the box: corner i has max x when bit 0 of i is
    /// set, max y for bit 1, max z for bit 2; twelve faces, eight smooth normals. Name, id and extra arrays
    /// stay.
    void createCubePrimitive(const Box3D& box);

    /// Writes the mesh as a record at the stream's present position: flags, name, box, id and the six
    /// always-present arrays, as they lie in memory (docs/formats.md has the layout). Extra arrays and other
    /// connectivity are not in it. Instantiated for FileStreamRaw, FileStreamEndian and FileRam; whether all
    /// was written the stream's host knows.
    template <class Stream>
    void saveBasic(Stream& stream) const;
    /// Makes this mesh what a record says, releasing its arrays first; the render object stays. The flags of
    /// the record count, so that the box need not be computed again. A record that is cut short gives what
    /// there is of it, and no more memory is taken than the stream can fill, or gave. Of the name, the
    /// characters before the first zero byte count. The contents of the arrays are not checked: before a mesh
    /// from an untrusted stream is used, hasValidIndices (MeshTopology.h) has to confirm its faces, and
    /// face-edges are better rebuilt (invalidateConnectivityBasic).
    template <class Stream>
    void loadBasic(Stream& stream);

    /// Unit face normals with areas, and vertex normals as angle-weighted averages of them (Thürmer and
    /// Wüthrich, Journal of Graphics Tools 3, 1998), on bare arrays.
    ///
    /// `faceNor` is resized to the faces; `nor` keeps its size, which must cover every index in `trindexNor`.
    /// A face without area gets the normal (1, 0, 0, 0) and adds nothing. Corner angles are scaled to the sum
    /// pi; sums run in single precision in face order, so the same input gives the same bytes. A normal that
    /// no face uses becomes (0, 0, 1), one whose sum vanishes a lie-down normal. O(faces + normals), on the
    /// caller's thread.
    static void staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                       const Array<Index3>& trindexNor, Array<Wector3F>& faceNor,
                                       Array<Vector3F>& nor);
    /// Vertex normals alone, indexed as the positions are. `nor` keeps its size, and must hold one entry for
    /// every index in `trindexPos` beforehand: size it to `pos`.
    static void staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                       Array<Vector3F>& nor);
    /// Face normals alone; `faceNor` is resized to the faces.
    static void staticCalculateNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                       Array<Wector3F>& faceNor);
    /// Gives every zero entry of `nor` a unit direction that lies in the surface: the way outwards, from the
    /// opposite edges to the corners that use the entry; where that vanishes too, the normal of the first
    /// face around it that has an area, else (0, 0, 1).
    static void staticCalculateLieDownNormals(const Array<Vector3D>& pos, const Array<Index3>& trindexPos,
                                              const Array<Index3>& trindexNor, Array<Vector3F>& nor);

    /// @name Normals
    /// The long ones of the following poll a callback every few milliseconds: false when it stops them. The
    /// normals then mean nothing, but their arrays fit, and the indices hold.
    /// @{

    /// Recomputes "FaceNor" and "Nor" through "TrindexNor", and "NorAllSmoothed" when the mesh holds it.
    /// Without one normal triple a face the normals are indexed as the positions are; a "Nor" that is too
    /// short grows.
    bool recalculateNormals(CancelCallback callback = nullptr);
    /// The same bytes with the work spread over threads.
    bool recalculateNormalsParallelized(uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// "FaceNor" alone.
    void recalculateFaceNormals(uint32 threadCount = 1);
    /// "Nor" alone; "FaceNor" is neither read nor written. The same bytes for every thread count; false when
    /// the callback stopped the work, and some of them mean nothing.
    bool recalculateVertexesNormals(uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// Recalculates the normals unless there is one a face and one for every index in "TrindexNor".
    bool confirmNormalsCalculated(uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// Rebuilds "TrindexNor" for the angle, in radians, as recalculateArrTrindexNor_SmoothingGroups does,
    /// resizes "Nor" to fit, and recalculates all normals: 0 is faceted but for faces in one plane, pi smooth
    /// across every edge.
    bool createNormals(double angle, uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// Rebuilds "TrindexNor": two corners at a position share a normal when a chain of faces around it joins
    /// them, each step over an edge of exactly two faces whose normals differ by at most `angle` (radians,
    /// clamped to [0, pi]). From pi on everything at a position is smooth, and normals are indexed as
    /// positions are. Otherwise normals are numbered in the order of the faces' corners, and faces without
    /// area stay apart. `normalCount` receives their number.
    void recalculateArrTrindexNor_SmoothingGroups(double angle, uint32& normalCount);
    /// Computes "NorAllSmoothed": one normal a position, smooth over every edge.
    bool calculateVerticesSurfaceNormal(uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// The same into an array of the caller's, which is resized to the positions.
    void calculateVerticesSurfaceNormalExternal(Array<Vector3F>& normals) const;
    /// Computes "NorAllSmoothed" unless the mesh holds one normal a position already.
    bool createSafe_arrNorSurface(uint32 threadCount = 1, CancelCallback callback = nullptr);
    /// @}

    /// Appends name and element counts as text, in six lines.
    void addStringDescription(TX_String& text) const;

    /// @name Connectivity
    /// Built in linear time and only when it is missing. An edge is a pair of different positions that are
    /// neighbouring corners of a face; faces that name a position twice have no edges. Edges are numbered in
    /// the order in which the faces first use them. The indices of the faces must be valid.
    /// @{

    /// "TrindexFacedge": for each edge of each face the face-edge on the other side, whichever way that one
    /// runs; none on borders and on edges of three and more faces, where a walk over the surface ends.
    void createSafe_arrTrindexFacedge();
    /// "BindexPos": two positions an edge, in the direction of the face that uses it first.
    void createSafe_arrBindexPos();
    /// "BindexFacedge": two face-edges an edge (IndexFacedge values), the first use and the one on its other
    /// side or none.
    void createSafe_arrBindexFacedge();
    /// Around each position the positions that an edge joins to it, each once, in the order of the edges'
    /// numbers. Creates "BindexPos" along with it.
    void createSafe_PosConnectivityToPos();
    /// Around each position the numbers of its edges, ascending; entry for entry the edges of
    /// PosConnectivityToPos. Creates "BindexPos", which holds their ends.
    void createSafe_PosConnectivityToEdges();
    /// Around each position the faces that have it as a corner, each once, ascending.
    void createSafe_PosConnectivityToFaces();
    /// @}

    /// Releases the face-edge neighbours.
    void invalidateConnectivityBasic();
    /// Releases the edge list and the adjacency lists; the smoothed normals stay.
    void invalidateConnectivityDerived();
    /// Releases both, after faces changed.
    void invalidateConnectivity();

    /// The render object, null until a host or initializeRenderObject supplies one; the mesh owns it.
    Mesh_RL* getMesh_RL() const { return _renderObject; }
    /// Gives the mesh another render object, which it owns from then on; the former one is deleted.
    void setMesh_RL(Mesh_RL* renderObject);
    /// Lets the host's factory make a render object when there is none.
    void initializeRenderObject();
    /// The forwards to the render object; without one nothing is drawn, and the shader is null.
    /// @{
    void render() const;
    void render(const Color4F& color) const;
    Mesh_RL_Shader* getShader() const;
    void setShader(Mesh_RL_Shader* shader);
    /// @}

private:
    static constexpr uint32 boxValid = 1;

    void constructorCommon();
    void registerAlwaysPresentArrays();
    void registerSlot(Slot slot);
    void createSlot(Slot slot);
    void fillSlot(Slot slot, ArrayHandle handle);
    void releaseSlot(Slot slot);
    void releaseAllArrays();
    void copySlot(Slot slot, const Mesh& other, TX_CopyMode mode);
    void copyExtraArrays(const Mesh& other);
    void setLists(Slot infoSlot, Array<BlockDesc>& info, Slot dataSlot, Array<uint32>& data);
    /// Calls fill(); when it throws, the mesh is left without arrays.
    template <class Fill>
    void fillOrRelease(const Fill& fill)
    {
        try
        {
            fill();
        }
        catch (...)
        {
            invalidateBox();
            releaseAllArrays();
            throw;
        }
    }
    bool prepareNormalArrays(uint32 threadCount, detail::Polling& polling);
    bool recalculateNormals(uint32 threadCount, detail::Polling& polling);
    bool recalculateVertexesNormals(uint32 threadCount, detail::Polling& polling);
    bool groupNormals(double angle, uint32& normalCount, detail::Polling& polling);
    bool calculateVerticesSurfaceNormal(uint32 threadCount, detail::Polling& polling);
    bool substitute(ArrayHandle& dst, ArrayHandle fresh, const Mesh& other, ArrayHandle src);
    /// The array of a slot for writing, created when the slot holds none.
    template <class T>
    Array<T>& require(Slot slot)
    {
        if (!TX_ArrayServer::instance().get<Array<T>>(handleOf(slot)))
        {
            releaseSlot(slot);
            registerAlwaysPresentArrays();
            if (handleOf(slot).isNone()) createSlot(slot);
        }
        return *TX_ArrayServer::instance().get<Array<T>>(handleOf(slot));
    }
    template <class T>
    const Array<T>& read(Slot slot) const;

    mutable uint32 _flags = 0;
    TX_String _name;
    mutable Box3D _box = Box3D::empty();
    uint32 _id = noIndex;
    Mesh_RL* _renderObject = nullptr;
    ArraySet<MeshArrayInf> _arraySet;
    std::array<ArrayHandle, meshSlotCount> _handles{};
};

extern template TX_GEOMETRY_API void Mesh::saveBasic(FileStreamRaw&) const;
extern template TX_GEOMETRY_API void Mesh::saveBasic(FileStreamEndian&) const;
extern template TX_GEOMETRY_API void Mesh::saveBasic(FileRam&) const;
extern template TX_GEOMETRY_API void Mesh::loadBasic(FileStreamRaw&);
extern template TX_GEOMETRY_API void Mesh::loadBasic(FileStreamEndian&);
extern template TX_GEOMETRY_API void Mesh::loadBasic(FileRam&);

}  // namespace tavrix
