#include <tavrix/implicit/detail/SparseField.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

template <class Value>
void moveLastTo(Array<Value>& array, uint32 place)
{
    std::rotate(array.begin() + place, array.end() - 1, array.end());
}

/// The first held sample of every row and the count of all; nothing for a grid of no nodes.
uint32 rowBeginCount(const GridDescription3<double>& grid)
{
    return grid.size == 0 ? 0 : Array<uint32>::checkedSize(std::size_t{grid.sizeX} * grid.sizeY + 1);
}

}  // namespace

template <class T>
SparseField<T>& SparseField<T>::operator=(const SparseField& other)
{
    Array<uint32> rowBegins(other._rowBegins), indexes(other._indexes);
    Array<T> values(other._values);
    _rowBegins.swap(rowBegins);
    _indexes.swap(indexes);
    _values.swap(values);
    Base::operator=(other);
    return *this;
}

template <class T>
void SparseField<T>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3D& separation)
{
    const auto grid = GridDescription3<double>::centered(sizeX, sizeY, sizeZ, separation);
    _rowBegins.assign(rowBeginCount(grid), 0);
    _indexes.clear();
    _values.clear();
    _grid = grid;
    this->_flags |= Base::flagChanged;
}

template <class T>
void SparseField<T>::reset_toZeroSize()
{
    _rowBegins.reserve(0);
    _indexes.reserve(0);
    _values.reserve(0);
    _grid = {};
    this->_flags |= Base::flagChanged;
}

template <class T>
uint64 SparseField<T>::getMemoryUsage() const
{
    return (uint64{_rowBegins.capacity()} + _indexes.capacity()) * sizeof(uint32) +
           uint64{_values.capacity()} * sizeof(T);
}

template <class T>
typename SparseField<T>::Row SparseField<T>::row(uint32 i, uint32 j) const
{
    const std::size_t n = std::size_t{i} * _grid.sizeY + j;
    return {_rowBegins[n], _rowBegins[n + 1]};
}

template <class T>
T SparseField<T>::get(const Index3& node) const
{
    const Row held = row(node.a, node.b);
    const uint32* begin = _indexes.data();
    const uint32* end = begin + held.end;
    const uint32* found = std::lower_bound(begin + held.begin, end, node.c);
    return found != end && *found == node.c ? _values[static_cast<std::size_t>(found - begin)]
                                            : _defaultValue;
}

template <class T>
void SparseField<T>::setDefaultValue(T value)
{
    std::fill(_rowBegins.begin(), _rowBegins.end(), 0);
    _indexes.clear();
    _values.clear();
    _defaultValue = value;
    this->_flags |= Base::flagChanged;
}

template <class T>
void SparseField<T>::set(const Index3& node, T value)
{
    this->_flags |= Base::flagChanged;
    const Row held = row(node.a, node.b);
    const uint32* begin = _indexes.data();
    const uint32* end = begin + held.end;
    const uint32* found = std::lower_bound(begin + held.begin, end, node.c);
    const auto place = static_cast<uint32>(found - begin);
    if (found != end && *found == node.c)
    {
        _values[place] = value;
        return;
    }
    if (!(value < _defaultValue)) return;
    _indexes.resize(_values.size());  // one more is left of a call in which the next line threw
    _indexes.push_back(node.c);
    _values.push_back(value);
    moveLastTo(_indexes, place);
    moveLastTo(_values, place);
    const std::size_t next = std::size_t{node.a} * _grid.sizeY + node.b + 1;
    for (std::size_t n = next; n < _rowBegins.size(); ++n) ++_rowBegins[n];
}

template <class T>
void SparseField<T>::assignBelow(const GridDescription3<double>& grid, const T* samples, T value)
{
    const auto count =
        static_cast<uint32>(std::count_if(samples, samples + grid.size, [=](T v) { return v < value; }));
    Array<uint32> rowBegins(rowBeginCount(grid));
    Array<uint32> indexes(count);
    Array<T> values(count);
    uint32 held = 0;
    for (uint32 n = 0; n < rowBegins.size(); ++n)
    {
        rowBegins[n] = held;
        if (n + 1 == rowBegins.size()) break;
        const T* row = samples + std::size_t{n} * grid.sizeZ;
        for (uint32 k = 0; k < grid.sizeZ; ++k)
            if (row[k] < value)
            {
                indexes[held] = k;
                values[held++] = row[k];
            }
    }
    _rowBegins.swap(rowBegins);
    _indexes.swap(indexes);
    _values.swap(values);
    _grid = grid;
    this->_flags |= Base::flagChanged;
}

template <class T>
Tuple2<uint32, T> SparseField<T>::held(uint32 number) const
{
    const uint32* row = std::upper_bound(_rowBegins.begin(), _rowBegins.end(), number) - 1;
    const auto rowNumber = static_cast<uint32>(row - _rowBegins.begin());
    return {rowNumber * _grid.sizeZ + _indexes[number], _values[number]};
}

template class SparseField<float>;
template class SparseField<double>;

}  // namespace tavrix::detail
