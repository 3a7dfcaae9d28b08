#pragma once

#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/fields/Vector3Field3.h>
#include <tavrix/foundation/CancelCallback.h>

namespace tavrix
{

class FileStreamBase;
class FileStreamBaseBuffered;

/// A level-set surface on a grid, whatever its storage: distance-like samples, negative inside, and the
/// values that say how to read them.
///
/// The threshold is the level of the surface, 0 at first. The default value is that of nodes far from the
/// surface, and the cut-off value the limit of the evaluations that must not touch such nodes; both are
/// 3.4028235e38 at first. Indices of nodes are not checked; no operation reports errors except where it says
/// so.
template <class T>
class ImplicitSurface3StrategyInterface
{
public:
    /// The kind of difference to take along each axis.
    using GradTypes = typename ScalarField3_base<T, double>::GradTypes;

    virtual ~ImplicitSurface3StrategyInterface();

    /// The samples, to be read.
    virtual const ScalarField3_base<T, double>& getField() const = 0;

    /// The level of the surface, to be written or read.
    /// @{
    T& getThreshold() { return _threshold; }
    const T& getThreshold() const { return _threshold; }
    /// @}
    /// Does nothing, and must go on doing nothing: write through getThreshold.
    void setThreshold(const T&) {}
    /// The value of far nodes, and the limit for evaluations that must not touch them, to be written or read.
    /// @{
    T& getDefaultValue() { return _defaultValue; }
    const T& getDefaultValue() const { return _defaultValue; }
    T& getCutOffValue() { return _cutOffValue; }
    const T& getCutOffValue() const { return _cutOffValue; }
    /// @}

    /// The sample of a node, by its indices or its monoindex.
    /// @{
    T get(uint32 i, uint32 j, uint32 k) const { return getField().get(Index3{i, j, k}); }
    T get(const Index3& node) const { return getField().get(node); }
    T get(uint32 monoindex) const { return getField().get(monoindex); }
    /// @}
    /// Writes the sample of a node.
    /// @{
    virtual void set(uint32 monoindex, const T& value) = 0;
    void set(const Index3& node, const T& value)
    {
        set(getField().getGrid().getMonoindex(node.a, node.b, node.c), value);
    }
    void set(uint32 i, uint32 j, uint32 k, const T& value) { set(Index3{i, j, k}, value); }
    /// @}

    /// The samples that the storage holds, by number: all of them for the regular surface, where the number
    /// is the monoindex, and those below the default value for the sparse one, in monoindex order.
    virtual uint32 getArraySize() const = 0;
    /// (monoindex, value) of the held sample of that number.
    virtual Tuple2<uint32, T> getArrayElement(uint32 number) const = 0;

    /// From the first node to the last, and the corners of that box.
    /// @{
    const Box3D& getBox() const { return getField().getBox(); }
    Box3Points<double> getBox3Points() const { return getField().getBox3Points(); }
    /// @}
    /// The extremes of all samples, far nodes included; 3.4028235e38 and -3.4028235e38 for an empty surface.
    virtual void findMinMax(T& min, T& max) const = 0;
    /// Gives the vector field this surface's grid and the gradient at every node, as
    /// ScalarField3_base::gradient does.
    void gradient(Vector3Field3<T, double>& out, uint32 threadCount = 1) const;

    /// Sizes the grid, centred on the origin, with one separation or one for each axis. The samples are
    /// unspecified in the regular surface and all far in the sparse one; no node is flagged. Throws
    /// std::length_error, and changes nothing, when the node count passes 2^32 - 1.
    /// @{
    virtual void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, double separation)
    {
        reset(sizeX, sizeY, sizeZ, Vector3D{separation, separation, separation});
    }
    virtual void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation) = 0;
    /// @}
    /// Moves the box so that its centre is the point.
    virtual void moveTo(const Vector3D& point) = 0;
    /// Frees everything; the surface has no nodes.
    virtual void init_toZeroSize() = 0;
    /// Bytes held.
    virtual uint64 getMemoryUsage() const = 0;

    /// @name Queries at a point
    /// All fail, with the value that the field's query gives then, outside the closed box.
    /// @{

    /// Trilinear value.
    bool eval(const Vector3D& point, T& out) const;
    /// As eval.
    bool evalSafe(const Vector3D& point, T& out) const { return eval(point, out); }
    /// Fails too when one of the eight nodes around the point is greater than the cut-off value.
    bool eval_useThreshold(const Vector3D& point, T& out) const;
    /// Gradient interpolated from central differences, of first order at borders.
    bool evalGrad(const Vector3D& point, Vector3<T>& out) const;
    /// As evalGrad.
    bool evalGradSafe(const Vector3D& point, Vector3<T>& out) const { return evalGrad(point, out); }
    /// Gradient of second order up to the borders.
    bool evalGrad_v2(const Vector3D& point, Vector3<T>& out) const;
    /// Gradient from a difference of one's choice for each axis.
    bool evalGradSafe_v2(const Vector3D& point, const GradTypes& types, Vector3<T>& out) const;
    /// Fails too when one of the eight nodes around the point is greater than the cut-off value.
    bool evalGradSafe_useThreshold(const Vector3D& point, const GradTypes& types, Vector3<T>& out) const;
    /// Curvature (2 / r for a sphere) from central differences; fails within a cell of the border.
    bool evalCurvature(const Vector3D& point, T& out) const;
    /// Curvature with one-sided differences where central ones do not fit.
    bool evalCurvatureSafe(const Vector3D& point, T& out) const;
    /// @}

    /// Turns the surface inside out: every sample and the default value change their sign, and the cut-off
    /// value becomes the new default value - 1. Neighbour flags change sides.
    virtual void invert() = 0;
    /// Takes absolute values: of every sample, the default value and the cut-off value. Neighbour flags
    /// become positive ones.
    virtual void abs() = 0;
    /// Adds v to every sample, which moves the surface inwards by v. The default and the cut-off value stay
    /// as they were, unlike in invert and abs: hosts rely on it.
    virtual void offsetSurface(const T& v) = 0;

    /// Extracts the surface at the threshold as IsosurfaceExtractor3::extractMesh does, with clean-up: of
    /// the whole grid, of a box, or without margins of so many cell layers. Faces wind so that they face away
    /// from smaller samples, outwards. Returns the number of faces.
    /// @{
    virtual unsigned long extractExplicitSurface(Mesh& mesh, uint32 threadCount = 1,
                                                 CancelCallback callback = nullptr) const = 0;
    virtual unsigned long extractExplicitSurface(Mesh& mesh, const Box3D& box, uint32 threadCount = 1,
                                                 CancelCallback callback = nullptr) const = 0;
    virtual unsigned long extractExplicitSurface(Mesh& mesh, uint32 xLow, uint32 xHigh, uint32 yLow,
                                                 uint32 yHigh, uint32 zLow, uint32 zHigh,
                                                 uint32 threadCount = 1,
                                                 CancelCallback callback = nullptr) const = 0;
    /// @}

    /// Files; see ImplicitSurface3Regular. A load returns whether all was there that the stream should hold,
    /// which tells a failed one from a surface of no nodes. A sparse surface is neither written nor read.
    /// @{
    virtual void save_useRegularFormat(FileStreamBase& stream) const = 0;
    virtual void save_useRegularFormat(FileStreamBaseBuffered& stream) const = 0;
    virtual void save_useSparseFormat(FileStreamBase& stream) const = 0;
    virtual void save_useSparseFormat(FileStreamBaseBuffered& stream) const = 0;
    virtual bool load_useRegularFormat(FileStreamBase& stream) = 0;
    virtual bool load_useRegularFormat(FileStreamBaseBuffered& stream) = 0;
    virtual bool load_useSparseFormat(FileStreamBase& stream) = 0;
    virtual bool load_useSparseFormat(FileStreamBaseBuffered& stream) = 0;
    /// @}

protected:
    ImplicitSurface3StrategyInterface() = default;
    /// Copies threshold, default and cut-off value.
    /// @{
    ImplicitSurface3StrategyInterface(const ImplicitSurface3StrategyInterface&) = default;
    ImplicitSurface3StrategyInterface& operator=(const ImplicitSurface3StrategyInterface&) = default;
    /// @}

    /// The values of the accessors above.
    /// @{
    T _threshold = 0;
    T _defaultValue = farValue;
    T _cutOffValue = farValue;
    /// @}
};

TX_GEOMETRY_INSTANCE(ImplicitSurface3StrategyInterface<float>);
TX_GEOMETRY_INSTANCE(ImplicitSurface3StrategyInterface<double>);

}  // namespace tavrix
