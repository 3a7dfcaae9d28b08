#include <tavrix/foundation/Plane3.h>

#include <gtest/gtest.h>

#include <string>

namespace tavrix
{

TEST(Plane3, MeasuresSignedDistance)
{
    const auto plane = Plane3D::through({1, 2, 3}, {0, 0, 1});
    EXPECT_DOUBLE_EQ(plane.signedDistance({-7, 9, 5}), 2);
    EXPECT_DOUBLE_EQ(plane.signedDistance({0, 0, 0}), -3);
}

TEST(Plane3, PolymorphicFormNamesItsTypeAndDescent)
{
    const Plane3F_virtual f(Plane3F{{1, 0, 0}, 4});
    const Plane3D_virtual d;
    EXPECT_EQ(std::string(f.getMetaClass().getName()), "Plane3F_virtual");
    EXPECT_EQ(std::string(d.getMetaClass().getName()), "Plane3D_virtual");
    EXPECT_TRUE(f.getMetaClass().hasAncestor("Plane3F"));
    EXPECT_TRUE(f.getMetaClass().hasAncestor(metaClass_Plane3F.getIdentifier()));
    EXPECT_TRUE(f.getMetaClass().hasAncestor("Plane3F_virtual"));
    EXPECT_FALSE(metaClass_Plane3F.hasAncestor("Plane3F_virtual"));
    EXPECT_FALSE(f.getMetaClass().hasAncestor(metaClass_Plane3D.getIdentifier()));
}

}  // namespace tavrix
