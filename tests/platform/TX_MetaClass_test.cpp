#include <tavrix/platform/TX_MetaClass.h>

#include <gtest/gtest.h>

#include <set>

#include <tavrix/foundation/Plane3.h>

using namespace tavrix;

TEST(TX_MetaClass, RegisteredTypesHaveDistinctIdentifiers)
{
    std::set<uint32> identifiers;
    for (const TX_MetaClass* c :
         {&metaClass_TX_UINT8, &metaClass_TX_UINT16, &metaClass_TX_UINT32, &metaClass_TX_UINT64,
          &metaClass_TX_INT32, &metaClass_TX_FLOAT, &metaClass_TX_DOUBLE, &metaClass_TX_BOOL,
          &metaClass_Vector2F, &metaClass_Vector3F, &metaClass_Vector3D, &metaClass_Color4F,
          &metaClass_Wector3F, &metaClass_Tuple2_UINT32, &metaClass_Tuple3_UINT32,
          &metaClass_Tuple2_IndexFacedge, &metaClass_Tuple3_IndexFacedge, &metaClass_BlockDesc})
        EXPECT_TRUE(identifiers.insert(c->getIdentifier()).second) << c->getName();
}

TEST(TX_MetaClass, KnowsTheDescentOfAnObject)
{
    const TX_MetaClass& plane = Plane3F_virtual(Plane3F{{1, 0, 0}, 4}).getMetaClass();
    EXPECT_STREQ(plane.getName(), "Plane3F_virtual");
    EXPECT_TRUE(plane.hasAncestor("Plane3F"));
    EXPECT_TRUE(plane.hasAncestor(metaClass_Plane3F.getIdentifier()));
    EXPECT_FALSE(metaClass_Plane3F.hasAncestor("Plane3F_virtual"));
    EXPECT_FALSE(plane.hasAncestor(metaClass_Plane3D.getIdentifier()));
}
