#pragma once

#include <utility>
#include <vector>

#include <tavrix/platform/TX_ArrayServer.h>

namespace tavrix
{

/// The registry of the arrays that one object uses: handles in the order of registration, with one Inf
/// (flags, a name) each. Every entry owns one reference to its array; the destructor gives them all back.
/// Searches are linear: a set holds some twenty entries.
template <class Inf>
class ArraySet
{
public:
    ArraySet() = default;
    ArraySet(const ArraySet&) = delete;
    /// A set can be moved, not copied: a new one takes the entries over, an assignment exchanges them.
    /// @{
    ArraySet(ArraySet&& other) noexcept : _handles(std::move(other._handles)), _infs(std::move(other._infs))
    {
        other.forgetAll();
    }
    ArraySet& operator=(const ArraySet&) = delete;
    ArraySet& operator=(ArraySet&& other) noexcept
    {
        std::swap(_handles, other._handles);
        std::swap(_infs, other._infs);
        return *this;
    }
    /// @}
    ~ArraySet() { clear(); }

    /// The entries by number, in the order of registration; numbers are not checked.
    /// @{
    uint32 size() const noexcept { return static_cast<uint32>(_handles.size()); }
    bool empty() const noexcept { return _handles.empty(); }
    ArrayHandle handle(uint32 i) const noexcept { return _handles[i]; }
    Inf& inf(uint32 i) noexcept { return _infs[i]; }
    const Inf& inf(uint32 i) const noexcept { return _infs[i]; }
    /// @}

    /// The first entry of the handle, or noIndex.
    uint32 find(ArrayHandle handle) const noexcept
    {
        for (uint32 i = 0; i < size(); ++i)
            if (_handles[i] == handle) return i;
        return noIndex;
    }

    /// Appends an entry, which takes over one reference of the caller's.
    void add(ArrayHandle handle, Inf inf)
    {
        _infs.push_back(std::move(inf));
        try
        {
            _handles.push_back(handle);
        }
        catch (...)
        {
            _infs.pop_back();
            throw;
        }
    }

    /// Gives entry i another array: takes over one reference of the caller's and gives the former array's
    /// back.
    void replace(uint32 i, ArrayHandle handle)
    {
        TX_ArrayServer::instance().release(std::exchange(_handles[i], handle));
    }

    /// Removes entry i and hands its reference to the caller.
    void forget(uint32 i)
    {
        _handles.erase(_handles.begin() + i);
        _infs.erase(_infs.begin() + i);
    }

    /// Removes the handle's first entry and gives its reference back; the store's answer, or false without an
    /// entry.
    bool release(ArrayHandle handle)
    {
        const uint32 i = find(handle);
        if (i == noIndex) return false;
        forget(i);
        return TX_ArrayServer::instance().release(handle);
    }

    /// Removes every entry and gives the references back.
    void clear() noexcept
    {
        for (const ArrayHandle handle : _handles) TX_ArrayServer::instance().release(handle);
        forgetAll();
    }

private:
    void forgetAll() noexcept
    {
        _handles.clear();
        _infs.clear();
    }

    std::vector<ArrayHandle> _handles;
    std::vector<Inf> _infs;
};

}  // namespace tavrix
