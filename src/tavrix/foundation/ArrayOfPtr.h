#pragma once

#include <type_traits>

#include <tavrix/foundation/Array.h>

namespace tavrix
{

/// The owning policy of ArrayOfPtr.
struct TX_YES
{
};

/// A growable list of pointers. It owns what it points to and deletes it, unless the policy is TX_NO. An
/// owning list can be moved but not copied.
template <class T, class Policy = TX_YES>
class ArrayOfPtr
{
public:
    /// Whether the list deletes what it points to.
    static constexpr bool owns = !std::is_same_v<Policy, TX_NO>;

    ArrayOfPtr() noexcept = default;
    /// A list that owns nothing may be copied. A list made of a temporary leaves that one empty; an assigned
    /// one exchanges its pointers with it.
    /// @{
    ArrayOfPtr(const ArrayOfPtr& other) requires(!owns) = default;
    ArrayOfPtr& operator=(const ArrayOfPtr& other) requires(!owns) = default;
    ArrayOfPtr(ArrayOfPtr&& other) noexcept = default;
    ArrayOfPtr& operator=(ArrayOfPtr&& other) noexcept = default;
    /// @}
    ~ArrayOfPtr() { clear(); }

    /// The pointers in their order; positions are not checked, and an empty list has no `back`.
    /// @{
    uint32 size() const noexcept { return _pointers.size(); }
    bool empty() const noexcept { return _pointers.empty(); }
    T* const* begin() const noexcept { return _pointers.begin(); }
    T* const* end() const noexcept { return _pointers.end(); }
    T* operator[](uint32 i) const noexcept { return _pointers[i]; }
    T* back() const noexcept { return _pointers.back(); }
    /// @}

    /// Appends the pointer; an owning list takes the object over, also when growing the list fails.
    void push_back(T* pointer)
    {
        try
        {
            _pointers.push_back(pointer);
        }
        catch (...)
        {
            if constexpr (owns) delete pointer;
            throw;
        }
    }

    /// Takes the last pointer off; an owning list deletes its object.
    void pop_back() noexcept
    {
        if constexpr (owns) delete _pointers.back();
        _pointers.resize(_pointers.size() - 1);
    }

    /// Takes the pointer at `i` off and moves the later ones down; an owning list deletes its object.
    void erase(uint32 i) noexcept
    {
        if constexpr (owns) delete _pointers[i];
        std::copy(_pointers.begin() + i + 1, _pointers.end(), _pointers.begin() + i);
        _pointers.resize(_pointers.size() - 1);
    }

    /// Empties the list; an owning list deletes its objects.
    void clear() noexcept
    {
        if constexpr (owns)
            for (T* pointer : _pointers) delete pointer;
        _pointers.clear();
    }

private:
    Array<T*> _pointers;
};

}  // namespace tavrix
