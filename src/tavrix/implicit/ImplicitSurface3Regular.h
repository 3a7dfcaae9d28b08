#pragma once

#include <array>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/BitArray.h>
#include <tavrix/implicit/ImplicitSurface3StrategyInterface.h>

namespace tavrix
{

namespace detail
{
class Polling;
class SweepOrder;
}  // namespace detail

/// What a surface that is made from a mesh holds: distances that are negative inside, or distances without a
/// sign, for meshes that enclose nothing.
enum IMPLICIT_SURFACE_TYPE
{
    TX_IMPLICIT_SURFACE_SIGNED,
    TX_IMPLICIT_SURFACE_UNSIGNED
};

/// A level-set surface on a dense grid, with flag bits for the nodes around it.
///
/// A node is flagged as surface (next to the surface), as neighbours-positive or as neighbours-negative (a
/// little further away, outside or inside), or not at all. Values and queries are those of the field. Copies
/// are deep. One surface may be read by several threads at once.
template <class T>
class ImplicitSurface3Regular : public ImplicitSurface3StrategyInterface<T>
{
    using Base = ImplicitSurface3StrategyInterface<T>;
    using Base::_cutOffValue;
    using Base::_defaultValue;
    using Base::_threshold;

public:
    /// What holds the samples.
    using Field = ScalarField3<T, double>;
    /// The forms of the base, beside those below.
    /// @{
    using Base::reset;
    using Base::set;
    /// @}

    /// A surface of no nodes.
    ImplicitSurface3Regular();
    ~ImplicitSurface3Regular() override;
    /// Copies samples, flags, threshold, default and cut-off value.
    /// @{
    ImplicitSurface3Regular(const ImplicitSurface3Regular&);
    ImplicitSurface3Regular& operator=(const ImplicitSurface3Regular& other);
    /// @}

    const Field& getField() const override { return _field; }
    /// The samples, to be written. Who resizes the field through it clears all flags; reset sizes both.
    Field& refField() { return _field; }

    void set(uint32 monoindex, const T& value) override { _field.set(monoindex, value); }
    uint32 getArraySize() const override { return _field.size(); }
    Tuple2<uint32, T> getArrayElement(uint32 number) const override { return {number, _field[number]}; }
    void findMinMax(T& min, T& max) const override { _field.findMinMax(min, max); }

    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation) override;
    void moveTo(const Vector3D& point) override { _field.moveTo(point); }
    void init_toZeroSize() override;
    uint64 getMemoryUsage() const override;
    /// Bytes that a surface over the box would hold, as `init` sizes it; 0 where init refuses.
    static uint64 getMemoryUsagePrediction(double separation, const Box3D& box);

    void invert() override;
    void abs() override;
    void offsetSurface(const T& v) override { _field.add(v); }

    /// The flag of a node; monoindices are not checked. Setting one clears the node's other two.
    /// @{
    bool isSurface(uint32 monoindex) const { return hasFlags() && _surface.test(monoindex); }
    bool isNeighborsPositive(uint32 monoindex) const
    {
        return hasFlags() && _neighborsPositive.test(monoindex);
    }
    bool isNeighborsNegative(uint32 monoindex) const
    {
        return hasFlags() && _neighborsNegative.test(monoindex);
    }
    void setSurfaceTrue(uint32 monoindex);
    void setNeighborsPositiveTrue(uint32 monoindex);
    void setNeighborsNegativeTrue(uint32 monoindex);
    /// @}
    /// How many nodes are flagged as surface.
    uint32 getNumberOfSurfaceCells() const { return hasFlags() ? _surface.count() : 0; }

    /// Samples a mesh: exact distances to its faces within the band (bandNodes grid separations), the default
    /// value beyond, which is the band's width; the cut-off value is just below it. The flags are those of
    /// createNeighborsCells.
    ///
    /// Signed surfaces are negative inside, by the mesh's orientation: a node is inside when the mean winding
    /// number along the six axis directions is above 1/2, so small holes are bridged and overlaps are one
    /// solid. Of a mesh that is inside out as a whole (negative volume) the outside is solid. The grid
    /// covers the box, centred on it, with ceil(extent / separation) cells an axis; what of the mesh lies
    /// outside counts too. Returns false, and leaves no nodes, when the callback, polled some
    /// milliseconds apart, stopped the work, and for a separation that is not above 0 or a box that is not
    /// finite. Throws std::length_error when the node count passes 2^32 - 1. The same bytes for every thread
    /// count.
    bool init(const Mesh& mesh, double separation, const Box3D& box, IMPLICIT_SURFACE_TYPE type,
              uint32 threadCount = 1, CancelCallback callback = nullptr, uint32 bandNodes = 3);
    /// The same over the mesh's box, cut into cellCount cells along its longest side, and bandNodes + 1
    /// cells more on every side. A mesh of no extent, or no cells, leaves no nodes.
    bool init(const Mesh& mesh, uint32 cellCount, IMPLICIT_SURFACE_TYPE type, uint32 threadCount = 1,
              CancelCallback callback = nullptr, uint32 bandNodes = 3);
    /// Samples the union of the particles' spheres: the distance to the nearest sphere outside and next to
    /// the surface, and the distance to the union's surface by fastSweeping inside, which lowers a sample
    /// near a crease outside by some hundredths of a separation. Particles without a finite position and a
    /// positive radius are left out. Grid, band, flags, cancelling and errors as for meshes.
    bool init(const Array<Vector3F>& positions, const Array<float>& radii, double separation,
              const Box3D& box, uint32 threadCount = 1, CancelCallback callback = nullptr,
              uint32 bandNodes = 3);
    /// The same over the box of the particles, and bandNodes + 1 cells more on every side.
    bool init_v2(const Array<Vector3F>& positions, const Array<float>& radii, double separation,
                 uint32 threadCount = 1, CancelCallback callback = nullptr, uint32 bandNodes = 3);
    /// Does nothing, and must go on doing nothing: part of the interface only.
    void init(const Field&, const T&, const T&, const T&) {}

    /// True when the surface passes through the voxel whose lower corner is the node: not all of its eight
    /// nodes are on one side of the threshold. False at the last nodes of an axis, which have no voxel.
    bool detectLeftDownNearSurfaceVoxel(const Index3& node) const;
    /// Flags the eight nodes of the voxel as surface.
    void markVoxelNodes(const Index3& node);
    /// Flags those of the voxel's nodes that have no flag as neighbours, positive or negative by the side of
    /// the threshold that they are on.
    void markVoxelSignedNodes(const Index3& node);
    /// Flags those of the voxel's nodes that have no flag as neighbours-positive, as on unsigned surfaces.
    void markVoxelUnsignedNodes(const Index3& node);
    /// Flags the nodes without a flag that share a voxel with a surface node as neighbours, by their side.
    void addBorderAroundSurface();
    /// The same around the nodes that are flagged as neighbours: one layer more.
    void addBorderAroundNeighbors();
    /// Flags anew: the nodes of the voxels that the surface passes through as surface, and a layer of
    /// neighbours around them.
    void createNeighborsCells();

    /// Makes the samples distances again, away from the surface: solves |grad u| = 1 by fast sweeping (Zhao,
    /// Mathematics of Computation 74, 2005), first order, from the samples as they are. Magnitudes are only
    /// ever lowered, so far nodes must hold a large value (the default) and nodes next to the surface the
    /// right one; see redistance for a field that has neither.
    ///
    /// Samples whose neighbours all exceed bandLimit stay. Iterations of eight sweeps go on while one changes
    /// a sample by tolerance or more; their number is returned. Signs stay, but a sample at the default value
    /// (or beyond) becomes negative where neighbours-negative flags reach it: afterwards every node without a
    /// flag has taken those of the node before it, along z, then y, then x. The bytes are the same for every
    /// thread count. A grid of a negative separation, as a damaged file may have it, is left alone, and 0
    /// returned.
    virtual uint32 fastSweeping(const T& bandLimit, const T& tolerance, const uint32& threadCount);
    /// The same with the diagonal of the box as band limit.
    virtual uint32 fastSweeping(const T& tolerance, const uint32& threadCount = 1);

    /// Makes the width of the band of distances the default value, with the cut-off value just below.
    void setBand(T width);
    /// Turns any field into distances to its level 0, also one that only tells inside from outside by
    /// infinite samples; those that are not numbers count as outside, far from the level. Nodes next to a
    /// change of sign get |v| over the length of the gradient there, all others the default value, and
    /// fastSweeping, to the default value as band limit, the rest. The flags are those of
    /// createNeighborsCells; of the default value the magnitude counts. Returns the iterations. Samples are
    /// of no use when the callback, polled every few milliseconds, stopped the work.
    uint32 redistance(const T& defaultValue, const T& tolerance, uint32 threadCount = 1,
                      CancelCallback callback = nullptr);
    /// Carries distances on from a band to a wider one: samples at the default value (or beyond) get the new
    /// one, with their sign, and fastSweeping fills it. Of both values the magnitude counts. Returns the
    /// iterations, and stops as redistance does.
    uint32 widenBand(const T& defaultValue, const T& tolerance, uint32 threadCount = 1,
                     CancelCallback callback = nullptr);

    /// Carries values outwards from the nodes flagged as surface, along the surface's normals: solves
    /// grad q . grad u = 0 by upwind sweeps, u the magnitude of the samples, which must be distances. Values
    /// of surface nodes stay; those of the other nodes, which need not be numbers, are replaced. Iterations
    /// of eight sweeps go on until getExtentionConvergence; their number is returned. values has the
    /// surface's sizes; otherwise nothing happens, and 0 is returned.
    /// @{
    uint32 fastSweepingExtend(Field& values, const T& tolerance, uint32 threadCount = 1) const;
    uint32 fastSweepingExtend(Vector3Field3<T, double>& values, const T& tolerance,
                              uint32 threadCount = 1) const;
    /// @}
    /// The same within the band only: nodes at the default value or beyond keep what they hold.
    /// @{
    uint32 fastSweepingExtendSparse(Field& values, const T& tolerance, uint32 threadCount = 1) const;
    uint32 fastSweepingExtendSparse(Vector3Field3<T, double>& values, const T& tolerance,
                                    uint32 threadCount = 1) const;
    /// @}
    /// Gives a vector field the surface's grid, the value at the nodes flagged as surface and zero vectors
    /// elsewhere: what an extension starts from.
    void initVectorSparseField(Vector3Field3<T, double>& values, const Vector3<T>& surfaceValue) const;

    unsigned long extractExplicitSurface(Mesh& mesh, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;
    unsigned long extractExplicitSurface(Mesh& mesh, const Box3D& box, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;
    unsigned long extractExplicitSurface(Mesh& mesh, uint32 xLow, uint32 xHigh, uint32 yLow, uint32 yHigh,
                                         uint32 zLow, uint32 zHigh, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;

    /// Writes the grid (124 bytes), all samples and the surface flags: docs/formats.md has the layout.
    /// Neither threshold, default value nor neighbour flags are written. Numbers have the byte order of the
    /// machine through every stream: that of a FileStreamEndian is for mesh records only. The stream tells
    /// whether all was written.
    /// @{
    void save_useRegularFormat(FileStreamBase& stream) const override;
    void save_useRegularFormat(FileStreamBaseBuffered& stream) const override;
    /// @}
    /// Writes the grid, the samples below the default value and the surface nodes, each list with its count
    /// and its indices.
    /// @{
    void save_useSparseFormat(FileStreamBase& stream) const override;
    void save_useSparseFormat(FileStreamBaseBuffered& stream) const override;
    /// @}

    /// Reads what save_useRegularFormat wrote, the grid as it stands, and returns whether all was there. What
    /// a stream gave that ends early stays, and nodes that it did not give have the default value and no
    /// flag; flag words and bits for other nodes than there are, are left out. Neighbour flags are cleared.
    ///
    /// False, and a surface of no nodes: a grid record that is cut off, one whose counts are not the product
    /// of its sizes or the number of samples, and a grid of more than 2^24 nodes of which less than one
    /// sample in 64 came, so that no damaged size asks for memory.
    /// @{
    bool load_useRegularFormat(FileStreamBase& stream) override;
    bool load_useRegularFormat(FileStreamBaseBuffered& stream) override;
    /// @}
    /// Reads what save_useSparseFormat wrote, with the present default value for what was not stored, so set
    /// that first, and returns whether all was there. The grid is built anew from sizes, separations and the
    /// box's centre. Indices out of range are skipped; what a stream gave that ends early stays. Neighbour
    /// flags are cleared.
    ///
    /// False, and a surface of no nodes: a grid record that is cut off, sizes of more than 2^32 - 1 nodes,
    /// and of more than 2^24 when the counts in the record are not their product.
    /// @{
    bool load_useSparseFormat(FileStreamBase& stream) override;
    bool load_useSparseFormat(FileStreamBaseBuffered& stream) override;
    /// @}

    /// Bit of the field's flags word that a load sets.
    enum : uint32
    {
        flagInitialised = 2
    };

private:
    using Directions = std::array<Tuple3<int32, int32, int32>, 8>;

    uint32 sweep(const T& bandLimit, const T& tolerance, uint32 threadCount, detail::Polling& polling);
    uint32 fastSweepingPositive(const T& bandLimit, const T& tolerance, uint32 threadCount,
                                detail::Polling& polling);
    static void getSweepingDirections(Directions& directions);
    detail::SweepOrder preparingThreadedSweepingVolumes(uint32 threadCount) const;
    template <class Values>
    uint32 extend(Values& values, const T& limit, const T& tolerance, uint32 threadCount) const;
    static bool getExtentionConvergence(const T& tolerance, const T& residual, T& firstResidual,
                                        T& lastResidual, uint32& stallCounter, uint32& iterationCounter);

    bool resetOver(const Box3D& box, double separation, uint32 bandNodes);
    void flagNeighbors(detail::Polling& polling);
    void forgetInside(detail::Polling& polling);
    bool keepUnlessStopped(const detail::Polling& polling);
    /// False after the field was resized through refField: the flags are those of other nodes.
    bool hasFlags() const { return _surface.size() == _field.size(); }
    /// Resizes the flags to `nodeCount` nodes and clears them.
    void unflag(uint32 nodeCount);
    void unflagResized()
    {
        if (!hasFlags()) unflag(_field.size());
    }
    bool isBelow(uint32 i, uint32 j, uint32 k) const { return _field.get(i, j, k) < _threshold; }
    void markNeighbor(const Index3& node, bool negative);
    void addBorder(const BitArray& bits, detail::Polling& polling);

    template <class Stream>
    void save_useRegularFormat_Imp(Stream& stream) const;
    template <class Stream>
    void save_useSparseFormat_Imp(Stream& stream) const;
    template <class Stream>
    bool load_useRegularFormat_Imp(Stream& stream);
    template <class Stream>
    bool load_useSparseFormat_Imp(Stream& stream);

    Field _field;
    BitArray _surface, _neighborsPositive, _neighborsNegative;
};

TX_GEOMETRY_INSTANCE(ImplicitSurface3Regular<float>);
TX_GEOMETRY_INSTANCE(ImplicitSurface3Regular<double>);

}  // namespace tavrix
