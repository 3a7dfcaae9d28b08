#pragma once

#include <span>

#include <tavrix/foundation/Array.h>

namespace tavrix
{

/// Lends memory of the host's to an array, so that calls which read arrays take it without a copy. While the
/// loan lives the array holds the elements; at its end the array is empty.
///
/// The array holds nothing that the loan would replace: what it held before is freed. Meanwhile the elements
/// stay where they are, and the array may be read and handed on as const, but neither assigned, grown,
/// swapped nor destroyed. More than 2^32 - 1 elements throw std::length_error.
template <class T, class W = _Wa>
class ArrayLoan
{
public:
    /// Begins the loan.
    ArrayLoan(Array<T, W>& array, std::span<const T> elements) : _array(array)
    {
        const uint32 size = Array<T, W>::checkedSize(elements.size());
        array.reserve(0);
        array._data = const_cast<T*>(elements.data());
        array._size = array._capacity = size;
    }
    ArrayLoan(const ArrayLoan&) = delete;
    ArrayLoan& operator=(const ArrayLoan&) = delete;
    /// Ends the loan.
    ~ArrayLoan()
    {
        _array._data = nullptr;
        _array._size = _array._capacity = 0;
    }

private:
    Array<T, W>& _array;
};

}  // namespace tavrix
