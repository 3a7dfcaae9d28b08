#pragma once

#include <memory>

#include <tavrix/implicit/ImplicitSurface3StrategyInterface.h>

namespace tavrix
{

template <class T>
class ImplicitSurface3Regular;

namespace detail
{
template <class T>
class SparseField;
}

/// A level-set surface that holds only the nodes below its default value, for large grids of which a surface
/// takes up little.
///
/// Nodes that are not held read as the default value. A node costs its sample and four bytes, a row along z
/// four bytes; reading one takes a binary search among the held nodes of its row. Copies are deep. Queries
/// and extraction give what the regular surface with the same samples gives; extraction looks only at the
/// rows that hold nodes and those next to them, so that it takes time and memory for these and for the faces
/// that it makes, and a look at every row, whatever the number of nodes. Writing the default value through
/// getDefaultValue changes what later `set`s hold and what nodes read that are not held; held nodes stay.
template <class T>
class ImplicitSurface3Sparse : public ImplicitSurface3StrategyInterface<T>
{
    using Base = ImplicitSurface3StrategyInterface<T>;
    using Base::_cutOffValue;
    using Base::_defaultValue;
    using Base::_threshold;

public:
    /// The forms of the base, beside those below.
    /// @{
    using Base::reset;
    using Base::set;
    /// @}

    /// A surface of no nodes.
    ImplicitSurface3Sparse();
    ~ImplicitSurface3Sparse() override;
    /// Copies held samples, threshold, default and cut-off value.
    /// @{
    ImplicitSurface3Sparse(const ImplicitSurface3Sparse& other);
    ImplicitSurface3Sparse& operator=(const ImplicitSurface3Sparse& other);
    /// @}

    /// Takes over a surface: grid, threshold, default and cut-off value, and the samples below the default
    /// value.
    void init(const ImplicitSurface3Regular<T>& surface);

    const ScalarField3_base<T, double>& getField() const override;

    /// Sets a held node; holds another one when the value is below the default value, and otherwise changes
    /// nothing. Holding one more node takes time in proportion to the nodes held and the rows: use init for
    /// many.
    void set(uint32 monoindex, const T& value) override;
    uint32 getArraySize() const override;
    Tuple2<uint32, T> getArrayElement(uint32 number) const override;
    void findMinMax(T& min, T& max) const override;

    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation) override;
    void moveTo(const Vector3D& point) override;
    void init_toZeroSize() override;
    uint64 getMemoryUsage() const override;

    /// As for the regular surface: of the held samples, while the others follow the default value.
    void invert() override;
    void abs() override;
    /// Adds v to the held samples; the default value stays, and with it what the other nodes read.
    void offsetSurface(const T& v) override;

    unsigned long extractExplicitSurface(Mesh& mesh, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;
    unsigned long extractExplicitSurface(Mesh& mesh, const Box3D& box, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;
    unsigned long extractExplicitSurface(Mesh& mesh, uint32 xLow, uint32 xHigh, uint32 yLow, uint32 yHigh,
                                         uint32 zLow, uint32 zHigh, uint32 threadCount = 1,
                                         CancelCallback callback = nullptr) const override;

    /// A sparse surface is neither written nor read: these do nothing, as hosts expect that hold surfaces of
    /// both kinds, and the loads return false.
    /// @{
    void save_useRegularFormat(FileStreamBase&) const override {}
    void save_useRegularFormat(FileStreamBaseBuffered&) const override {}
    void save_useSparseFormat(FileStreamBase&) const override {}
    void save_useSparseFormat(FileStreamBaseBuffered&) const override {}
    bool load_useRegularFormat(FileStreamBase&) override { return false; }
    bool load_useRegularFormat(FileStreamBaseBuffered&) override { return false; }
    bool load_useSparseFormat(FileStreamBase&) override { return false; }
    bool load_useSparseFormat(FileStreamBaseBuffered&) override { return false; }
    /// @}

private:
    friend class IsosurfaceExtractor3;

    std::unique_ptr<detail::SparseField<T>> _field;
};

TX_GEOMETRY_INSTANCE(ImplicitSurface3Sparse<float>);
TX_GEOMETRY_INSTANCE(ImplicitSurface3Sparse<double>);

}  // namespace tavrix
