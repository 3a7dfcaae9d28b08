#pragma once

#include <string_view>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The registration object of one type: a name, an identifier made from it, and the type it descends from. It
/// serves as the type tag of a named data array. A class counts as its own ancestor.
class TX_GEOMETRY_API TX_MetaClass
{
public:
    /// The name and the parent must outlive the object; the registered ones live as long as the library is
    /// loaded.
    constexpr explicit TX_MetaClass(const char* name, const TX_MetaClass* parent = nullptr)
        : _name(name), _parent(parent), _identifier(identifierOf(name))
    {
    }
    TX_MetaClass(const TX_MetaClass&) = delete;
    TX_MetaClass& operator=(const TX_MetaClass&) = delete;

    /// The name given at construction, not copied.
    const char* getName() const noexcept { return _name; }
    /// The same on every run and in every process: the 32-bit FNV-1a hash of the name.
    uint32 getIdentifier() const noexcept { return _identifier; }

    /// Whether the type is, or descends from, the one of that identifier or name.
    /// @{
    bool hasAncestor(uint32 identifier) const noexcept;
    bool hasAncestor(std::string_view name) const noexcept;
    /// @}

    /// The 32-bit FNV-1a hash of a name, which is its identifier.
    static constexpr uint32 identifierOf(std::string_view name)
    {
        uint32 hash = 2166136261u;
        for (const char c : name) hash = (hash ^ static_cast<uint8>(c)) * 16777619u;
        return hash;
    }

private:
    const char* _name;
    const TX_MetaClass* _parent;
    uint32 _identifier;
};

/// The registered types of array elements, each named as the constant behind "metaClass_".
/// @{
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_UINT8;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_UINT16;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_UINT32;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_UINT64;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_INT32;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_FLOAT;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_DOUBLE;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_TX_BOOL;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Vector2F;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Vector3F;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Vector3D;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Color4F;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Wector3F;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Tuple2_UINT32;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Tuple3_UINT32;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Tuple2_IndexFacedge;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_Tuple3_IndexFacedge;
extern TX_GEOMETRY_API const TX_MetaClass metaClass_BlockDesc;
/// @}

}  // namespace tavrix
