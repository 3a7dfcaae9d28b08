#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

namespace detail
{
/// Asks the system to back a large block of memory with huge pages, which makes its first touch several times
/// cheaper. A hint: blocks below a few megabytes, and systems without the call, are left alone.
TX_GEOMETRY_API void adviseHugePages(void* block, std::size_t bytes) noexcept;
/// Gives the memory behind a block that is about to be freed back to the system, where the allocator might
/// keep it. The contents are lost.
TX_GEOMETRY_API void returnPages(void* block, std::size_t bytes) noexcept;
}  // namespace detail

/// The default tag of Array.
struct _Wa
{
};

template <class T, class W>
class ArrayLoan;

/// Growable array: a pointer, a 32-bit count and a 32-bit capacity.
///
/// It differs from std::vector where that saves memory traffic: elements of plain types are not initialised,
/// `reserve` gives exactly the capacity asked for (also a smaller one), and an empty array that was given
/// capacity 0 holds no storage. Element access is unchecked. More than 2^32 - 1 elements throw
/// std::length_error; allocation failure propagates. The tag W only keeps arrays of different use apart.
template <class T, class W = _Wa>
class Array
{
public:
    /// The names that ranges ask for.
    /// @{
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;
    /// @}

    // The constructors that allocate delegate to this one, so that the storage is freed when copying an
    // element throws.
    Array() noexcept = default;
    /// That many elements (of plain types not initialised) or copies of a value; or a copy of a list, of a
    /// span or of another array. Moving leaves the other array empty.
    /// @{
    explicit Array(uint32 size) : Array() { resize(size); }
    Array(uint32 size, const T& value) : Array() { assign(size, value); }
    Array(std::initializer_list<T> values) : Array(std::span<const T>(values.begin(), values.size())) {}
    explicit Array(std::span<const T> values) : Array()
    {
        resize(checkedSize(values.size()));
        std::copy(values.begin(), values.end(), begin());
    }
    Array(const Array& other) : Array(std::span<const T>(other.data(), other.size())) {}
    Array(Array&& other) noexcept { swap(other); }
    /// @}
    ~Array() { delete[] _data; }

    /// Copies the elements; storage is reused when it is large enough.
    Array& operator=(const Array& other)
    {
        if (this == &other) return *this;
        if (other._size > _capacity) reserve(other._size, false);
        std::copy(other.begin(), other.end(), _data);
        _size = other._size;
        return *this;
    }
    /// Exchanges the storage of two arrays, without touching elements; so does assigning from a temporary.
    /// @{
    Array& operator=(Array&& other) noexcept
    {
        swap(other);
        return *this;
    }

    void swap(Array& other) noexcept
    {
        std::swap(_data, other._data);
        std::swap(_size, other._size);
        std::swap(_capacity, other._capacity);
    }
    /// @}

    /// As in std::vector, with 32-bit counts and no checks; an empty array has no `back`.
    /// @{
    uint32 size() const noexcept { return _size; }
    uint32 capacity() const noexcept { return _capacity; }
    bool empty() const noexcept { return _size == 0; }
    T* data() noexcept { return _data; }
    const T* data() const noexcept { return _data; }
    T* begin() noexcept { return _data; }
    T* end() noexcept { return _data + _size; }
    const T* begin() const noexcept { return _data; }
    const T* end() const noexcept { return _data + _size; }
    T& operator[](std::size_t i) noexcept { return _data[i]; }
    const T& operator[](std::size_t i) const noexcept { return _data[i]; }
    T& back() noexcept { return _data[_size - 1]; }
    const T& back() const noexcept { return _data[_size - 1]; }
    /// @}

    /// Sets the capacity to exactly `capacity` elements, also downwards; 0 frees the storage. The first
    /// min(size, capacity) elements are kept when `keep` is set and unspecified otherwise; the size becomes
    /// that minimum.
    void reserve(uint32 capacity, bool keep = true)
    {
        T* fresh = nullptr;
        const uint32 kept = std::min(_size, capacity);
        if (capacity != 0)
        {
            fresh = new T[capacity];
            detail::adviseHugePages(fresh, std::size_t{capacity} * sizeof(T));
            if (keep) moveElements(fresh, kept);
        }
        delete[] _data;
        _data = fresh;
        _capacity = capacity;
        _size = kept;
    }

    /// Sets the count; beyond the capacity exactly that many elements are reserved. New elements are
    /// unspecified for plain types.
    void resize(uint32 size)
    {
        if (size > _capacity) reserve(size);
        _size = size;
    }

    /// Makes room for `size` elements, for one append after another: beyond the capacity it grows as
    /// push_back does, or to that many when that is more. The count stays.
    void makeRoom(std::size_t size)
    {
        if (size > _capacity) reserve(std::max(checkedSize(size), grown(_capacity)));
    }

    /// Gives the array `size` copies of the value.
    void assign(uint32 size, const T& value)
    {
        const T copy = value;
        if (size > _capacity) reserve(size, false);
        _size = size;
        std::fill(begin(), end(), copy);
    }

    /// Appends; a full array grows to capacity + capacity / 8 + 4.
    void push_back(const T& value)
    {
        if (_size == _capacity)
        {
            T copy = value;
            makeRoom(std::size_t{_size} + 1);
            _data[_size++] = std::move(copy);
        }
        else
            _data[_size++] = value;
    }

    /// Sets the count to 0 and keeps the storage.
    void clear() noexcept { _size = 0; }

    /// Equal counts, and equal elements in the same order.
    friend bool operator==(const Array& a, const Array& b)
    {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    /// The size as a 32-bit count; std::length_error when it does not fit.
    static uint32 checkedSize(std::size_t size)
    {
        if (size > 0xFFFFFFFFu) throw std::length_error("tavrix::Array: more than 2^32 - 1 elements");
        return static_cast<uint32>(size);
    }

private:
    friend class ArrayLoan<T, W>;

    static uint32 grown(uint32 capacity)
    {
        return static_cast<uint32>(
            std::min<std::size_t>(std::size_t{capacity} + capacity / 8 + 4, 0xFFFFFFFFu));
    }

    void moveElements(T* fresh, uint32 count)
    {
        try
        {
            std::move(_data, _data + count, fresh);
        }
        catch (...)
        {
            delete[] fresh;
            throw;
        }
    }

    T* _data = nullptr;
    uint32 _size = 0;
    uint32 _capacity = 0;
};

}  // namespace tavrix
