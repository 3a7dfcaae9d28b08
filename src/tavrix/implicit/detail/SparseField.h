#pragma once

#include <tavrix/fields/ScalarField3_base.h>

namespace tavrix::detail
{

/// A field that holds only some samples, row by row along z; all others read as a value of the owner's.
template <class T>
class SparseField final : public ScalarField3_base<T, double>
{
    using Base = ScalarField3_base<T, double>;
    using Base::_grid;

public:
    /// What is held of a row: samples [begin, end) of the arrays.
    struct Row
    {
        uint32 begin, end;
    };

    /// Nodes that are not held read the default value, which must outlive the field.
    explicit SparseField(T& defaultValue) : Base(ScalarFieldType::Sparse), _defaultValue(defaultValue) {}
    /// Copies grid and held samples.
    SparseField& operator=(const SparseField& other);

    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation);
    void reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, double separation) override
    {
        reset(sizeX, sizeY, sizeZ, {separation, separation, separation});
    }
    void reset_toZeroSize() override;
    void initialize() override {}
    uint64 getMemoryUsage() const override;

    using Base::get;
    using Base::set;

    T get(const Index3& node) const override;
    T get(uint32 monoindex) const override { return get(_grid.getIndexes(monoindex)); }
    void set(const Index3& node, T value) override;
    void set(uint32 monoindex, T value) override { set(_grid.getIndexes(monoindex), value); }

    /// Takes over the grid of a dense field, and its samples below the value.
    void assignBelow(const GridDescription3<double>& grid, const T* samples, T value);

    T getDefaultValue() const override { return _defaultValue; }
    /// Lets go of all samples.
    void setDefaultValue(T value) override;

    uint32 heldCount() const { return _values.size(); }
    Tuple2<uint32, T> held(uint32 number) const;
    Row row(uint32 i, uint32 j) const;
    uint32 indexInRow(uint32 number) const { return _indexes[number]; }
    const Array<T>& values() const { return _values; }
    Array<T>& refValues() { return _values; }

private:
    Array<uint32> _rowBegins;  ///< of every row (i, j), and the count of all at the end
    Array<uint32> _indexes;    ///< k of every held sample, growing in each row
    Array<T> _values;
    T& _defaultValue;
};

extern template class SparseField<float>;
extern template class SparseField<double>;

}  // namespace tavrix::detail
