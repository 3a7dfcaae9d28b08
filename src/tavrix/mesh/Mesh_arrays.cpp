#include <algorithm>

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

bool Mesh::getMeshArrayInf(MeshArrayInf& inf, ArrayHandle handle) const
{
    const uint32 entry = _arraySet.find(handle);
    if (entry == noIndex) return false;
    inf = _arraySet.inf(entry);
    return true;
}

void Mesh::addArray(ArrayHandle handle, const TX_String& name, uint32 flags)
{
    if (handle.isNone()) return;
    try
    {
        _arraySet.add(handle, {flags, name});
    }
    catch (...)
    {
        if (flags & MeshArrayInf::LIFE_CYCLE) TX_ArrayServer::instance().release(handle);
        throw;
    }
}

ArrayHandle Mesh::findArray(const TX_String& name) const
{
    for (uint32 i = 0; i < _arraySet.size(); ++i)
        if (_arraySet.inf(i).name == name) return _arraySet.handle(i);
    return {};
}

void Mesh::attachToLifeCycle(ArrayHandle handle)
{
    const uint32 entry = _arraySet.find(handle);
    if (entry != noIndex) _arraySet.inf(entry).flags |= MeshArrayInf::LIFE_CYCLE;
}

void Mesh::detachFromLifeCycle(ArrayHandle handle)
{
    const uint32 entry = _arraySet.find(handle);
    if (entry != noIndex) _arraySet.inf(entry).flags &= ~uint32{MeshArrayInf::LIFE_CYCLE};
}

bool Mesh::releaseArray(ArrayHandle handle, TX_SAFE) { return !handle.isNone() && releaseArray(handle); }

bool Mesh::releaseArray(ArrayHandle handle)
{
    if (!_arraySet.release(handle)) return false;
    std::replace(_handles.begin(), _handles.end(), handle, ArrayHandle{});
    return true;
}

/// Puts the array `fresh`, whose reference passes to this mesh, where `dst` was: in its entry and its slot.
bool Mesh::substitute(ArrayHandle& dst, ArrayHandle fresh, const Mesh& other, ArrayHandle src)
{
    if (fresh.isNone()) return false;
    const uint32 entry = _arraySet.find(dst);
    if (dst.isNone() || entry == noIndex)
    {
        const MeshArrayInf unknown;
        const uint32 source = other._arraySet.find(src);
        const MeshArrayInf& inf = source == noIndex ? unknown : other._arraySet.inf(source);
        addArray(fresh, inf.name, inf.flags | MeshArrayInf::LIFE_CYCLE);
    }
    else
    {
        std::replace(_handles.begin(), _handles.end(), _arraySet.handle(entry), fresh);
        _arraySet.replace(entry, fresh);
    }
    dst = fresh;
    return true;
}

bool Mesh::copyArrayShallow(ArrayHandle& dst, const Mesh& other, ArrayHandle src)
{
    return substitute(dst, TX_ArrayServer::instance().share(src), other, src);
}

bool Mesh::copyArrayDeep(ArrayHandle dst, const Mesh&, ArrayHandle src)
{
    return TX_ArrayServer::instance().copyContents(dst, src);
}

bool Mesh::createArrayCopyShallow(ArrayHandle& dst, const Mesh& other, ArrayHandle src)
{
    return copyArrayShallow(dst, other, src);
}

bool Mesh::createArrayCopyDeep(ArrayHandle& dst, const Mesh& other, ArrayHandle src)
{
    return substitute(dst, TX_ArrayServer::instance().copy(src), other, src);
}

}  // namespace tavrix
