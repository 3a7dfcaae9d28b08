#include <tavrix/platform/TX_MetaClass.h>

namespace tavrix
{

bool TX_MetaClass::hasAncestor(uint32 identifier) const noexcept
{
    for (const TX_MetaClass* c = this; c; c = c->_parent)
        if (c->_identifier == identifier) return true;
    return false;
}

bool TX_MetaClass::hasAncestor(std::string_view name) const noexcept
{
    for (const TX_MetaClass* c = this; c; c = c->_parent)
        if (c->_name == name) return true;
    return false;
}

constinit const TX_MetaClass metaClass_TX_UINT8("TX_UINT8");
constinit const TX_MetaClass metaClass_TX_UINT16("TX_UINT16");
constinit const TX_MetaClass metaClass_TX_UINT32("TX_UINT32");
constinit const TX_MetaClass metaClass_TX_UINT64("TX_UINT64");
constinit const TX_MetaClass metaClass_TX_INT32("TX_INT32");
constinit const TX_MetaClass metaClass_TX_FLOAT("TX_FLOAT");
constinit const TX_MetaClass metaClass_TX_DOUBLE("TX_DOUBLE");
constinit const TX_MetaClass metaClass_TX_BOOL("TX_BOOL");
constinit const TX_MetaClass metaClass_Vector2F("Vector2F");
constinit const TX_MetaClass metaClass_Vector3F("Vector3F");
constinit const TX_MetaClass metaClass_Vector3D("Vector3D");
constinit const TX_MetaClass metaClass_Color4F("Color4F");
constinit const TX_MetaClass metaClass_Wector3F("Wector3F");
constinit const TX_MetaClass metaClass_Tuple2_UINT32("Tuple2_UINT32");
constinit const TX_MetaClass metaClass_Tuple3_UINT32("Tuple3_UINT32");
constinit const TX_MetaClass metaClass_Tuple2_IndexFacedge("Tuple2_IndexFacedge");
constinit const TX_MetaClass metaClass_Tuple3_IndexFacedge("Tuple3_IndexFacedge");
constinit const TX_MetaClass metaClass_BlockDesc("BlockDesc");

}  // namespace tavrix
