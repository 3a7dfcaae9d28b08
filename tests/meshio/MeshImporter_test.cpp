#include <tavrix/meshio/MeshImporter.h>

#include <gtest/gtest.h>

#include <TestFolder.h>

using namespace tavrix;

namespace
{

int readText(const std::string& text, ArrayOfPtr<Mesh>& meshes)
{
    static const test::TestFolder folder;
    return MeshFileParser<MeshImporter>::instance().read_ASE(folder.write("in.ase", text), meshes);
}

/// As exporters write them: tabs, columns, lists that are of no use here, an object in a group.
const std::string scene = R"(*COMMENT	"made by hand { *MESH { "
*SCENE { *SCENE_FILENAME "a } b" }
*GEOMOBJECT {
	*NODE_NAME "Box 01"
	*NODE_TM { *NODE_NAME "inner" *TM_ROW3 9 9 9 }
	*MESH {
		*MESH_NUMVERTEX 4000000000
		*MESH_VERTEX_LIST {
			*MESH_VERTEX    0	-1.5000	2.0000	0.0000
			*MESH_VERTEX    1	1e1	2.0000	-0.1250
			*MESH_VERTEX    2	0.0000	+3	.5
			*MESH_VERTEX    3	1.0000	1.0000	1.0000
		}
		*MESH_FACE_LIST {
			*MESH_FACE    0:    A:    0 B:    1 C:    2 AB:    1 BC:    1 CA:    0	 *MESH_SMOOTHING 1 	*MESH_MTLID 0
			*MESH_FACE    1:    A:    3 B:    2 C:    1 AB:    0 BC:    1 CA:    1	 *MESH_SMOOTHING 	*MESH_MTLID 1
		}
		*MESH_NORMALS { *MESH_FACENORMAL 0 0 0 1 *MESH_VERTEXNORMAL 0 0 0 1 }
	}
	*MESH_ANIMATION { *MESH { *MESH_VERTEX_LIST { *MESH_VERTEX 0 7 7 7 } } }
}
*GROUP "g" {
	*GEOMOBJECT {
		*NODE_NAME "second"
		*MESH{
			*MESH_FACE_LIST {
				*MESH_FACE 0: A:7 B:5 C:9
				*MESH_FACE 1: A:7 B:5 C:8
				*MESH_FACE 2: A:7 B:-5 C:9
				*MESH_FACE 3: A:7 C:5 B:9
				*MESH_FACE 4: A:9 B:5
			}
			*MESH_VERTEX_LIST
			{
				*MESH_VERTEX 5 1 2 3
				*MESH_VERTEX 9 4 5 6
				*MESH_VERTEX 7 0 0 0
				*MESH_VERTEX 8 1 2
				*MESH_VERTEX 7 7 8 9
			}
		}
	}
	*HELPEROBJECT { *NODE_NAME "h" *MESH { } }
}
*GEOMOBJECT { *NODE_NAME "no faces" *MESH { *MESH_VERTEX_LIST { *MESH_VERTEX 0 1 1 1 } } }
)";

void expectScene(const ArrayOfPtr<Mesh>& meshes)
{
    ASSERT_EQ(meshes.size(), 2u);
    EXPECT_STREQ(meshes[0]->getName().c_str(), "Box 01");
    EXPECT_EQ(meshes[0]->pos(), (Array<Vector3D>{{-1.5, 2, 0}, {10, 2, -0.125}, {0, 3, 0.5}, {1, 1, 1}}));
    EXPECT_EQ(meshes[0]->trindexPos(), (Array<Index3>{{0, 1, 2}, {3, 2, 1}}));
    EXPECT_EQ(meshes[0]->trindexNor(), meshes[0]->trindexPos());
    EXPECT_STREQ(meshes[1]->getName().c_str(), "second");
    EXPECT_EQ(meshes[1]->pos(), (Array<Vector3D>{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
    EXPECT_EQ(meshes[1]->trindexPos(), (Array<Index3>{{2, 0, 1}}));
}

}  // namespace

TEST(MeshImporter, ReadsAseAsExportersWriteIt)
{
    ArrayOfPtr<Mesh> meshes;
    EXPECT_EQ(readText(scene, meshes), 0);
    expectScene(meshes);
    std::string otherEndings;
    for (const char c : scene) otherEndings += c == '\n' ? std::string("\r\n") : std::string(1, c);
    ArrayOfPtr<Mesh> same;
    EXPECT_EQ(readText(otherEndings, same), 0);
    expectScene(same);
    EXPECT_EQ(readText("*MESH {\n}", same), 0);
    EXPECT_EQ(same.size(), 2u);
}

TEST(MeshImporter, RefusesWhatIsNoAse)
{
    ArrayOfPtr<Mesh> meshes;
    for (const char* text : {"", "\n\n", "solid x\n", "*COMMENT \"*MESH {\"", "*MESH", "*GEOMOBJECT {}",
                             "*SHAPEOBJECT { *MESH { } }", "}}}}", "{ *MESH { } }"})
        EXPECT_EQ(readText(text, meshes), meshFileFailed) << text;
    for (const char* text : {"*MESH {", "*GROUP \"a\" {\n*MESH {\n}", "*MESH { *A { }"})
        EXPECT_EQ(readText(text, meshes), meshFileEndsTooEarly) << text;
    EXPECT_EQ(meshes.size(), 0u);
}
