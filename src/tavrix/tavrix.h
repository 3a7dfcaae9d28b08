#pragma once

/// Every public header of the library. Hosts that build often include what they use instead.

#include <tavrix/platform/ArrayHandle.h>
#include <tavrix/platform/ArraySet.h>
#include <tavrix/platform/ArrayType.h>
#include <tavrix/platform/ByteOrder.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileBufferOut.h>
#include <tavrix/platform/FileStatus.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/NumberText.h>
#include <tavrix/platform/OpenFile.h>
#include <tavrix/platform/Thread.h>
#include <tavrix/platform/Timer.h>
#include <tavrix/platform/TX_ArrayServer.h>
#include <tavrix/platform/TX_MetaClass.h>
#include <tavrix/platform/TX_String.h>
#include <tavrix/platform/TX_Tokenizer.h>
#include <tavrix/platform/Types.h>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/ArrayLoan.h>
#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/BitArray.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/Box2.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Camera.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/Divisor.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/FileRam.h>
#include <tavrix/foundation/FileStreamBase.h>
#include <tavrix/foundation/FileStreamBaseBuffered.h>
#include <tavrix/foundation/FileStreamEndian.h>
#include <tavrix/foundation/FileStreamRaw.h>
#include <tavrix/foundation/FileStreamRawBuffered.h>
#include <tavrix/foundation/GeometryTree_RL.h>
#include <tavrix/foundation/List.h>
#include <tavrix/foundation/Matrix4.h>
#include <tavrix/foundation/Mesh_RL.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/foundation/Particles_RL_v2.h>
#include <tavrix/foundation/Plane3.h>
#include <tavrix/foundation/PolyParam.h>
#include <tavrix/foundation/ProgressCallback.h>
#include <tavrix/foundation/Quaternion.h>
#include <tavrix/foundation/RankGroup.h>
#include <tavrix/foundation/Ray3.h>
#include <tavrix/foundation/RenderLayer.h>
#include <tavrix/foundation/ScalarField3_RL.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/foundation/Wector3.h>

#include <tavrix/mesh/IndexFacedge.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshArrayInf.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/mesh/PolygonTriangulation.h>
#include <tavrix/mesh/SheetSeparation.h>

#include <tavrix/meshproc/FairingSettings.h>
#include <tavrix/meshproc/MeshClipping.h>
#include <tavrix/meshproc/MeshDecimation.h>
#include <tavrix/meshproc/MeshFairing.h>
#include <tavrix/meshproc/MeshSlicing.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/meshproc/Polygons.h>
#include <tavrix/meshproc/Polygonum.h>
#include <tavrix/meshproc/polylinetools.h>
#include <tavrix/meshproc/Quadric.h>
#include <tavrix/meshproc/SphereTriangulated.h>
#include <tavrix/meshproc/Vector3Simplifier.h>
#include <tavrix/meshproc/VertexWelding.h>

#include <tavrix/particles/NeighbourGrid.h>
#include <tavrix/particles/Particle_v2.h>
#include <tavrix/particles/ParticleChannel_v2.h>
#include <tavrix/particles/ParticleChannelChunkData_v2.h>
#include <tavrix/particles/ParticleChannelType.h>
#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/particles/ParticleSystem_v2.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/particles/ParticleSystemChunk_v2.h>
#include <tavrix/particles/ParticleSystemIterator_v2.h>

#include <tavrix/fields/AnisotropySettings.h>
#include <tavrix/fields/GridDescription3.h>
#include <tavrix/fields/GridFit.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/fields/ScalarField3_SG.h>
#include <tavrix/fields/ScalarField3Parent.h>
#include <tavrix/fields/ScalarFieldModes.h>
#include <tavrix/fields/TileGrid3.h>
#include <tavrix/fields/Vector3Field3.h>

#include <tavrix/isosurface/GridEdgeKey.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/implicit/ImplicitSurface3Sparse.h>
#include <tavrix/implicit/ImplicitSurface3StrategyInterface.h>
#include <tavrix/implicit/LevelSetExtraction.h>
#include <tavrix/implicit/LevelSetSampling.h>

#include <tavrix/meshio/Mesh_BIN_FileParser.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/meshio/MeshImporter.h>
#include <tavrix/meshio/MeshReadingReport.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <tavrix/meshio/ObjNumbers.h>
#include <tavrix/meshio/ObjReadingMode.h>

#include <tavrix/reconstruction/RankForecast.h>
#include <tavrix/reconstruction/RankMesh.h>
#include <tavrix/reconstruction/ReconstructionSettings.h>
#include <tavrix/reconstruction/SolidSurface.h>
#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include <tavrix/spatial/BoxQueries.h>
#include <tavrix/spatial/GeometryNode.h>
#include <tavrix/spatial/GeometryNodeEx.h>
#include <tavrix/spatial/GeometryTree.h>
#include <tavrix/spatial/MeshCollider.h>
#include <tavrix/spatial/MeshPoint.h>
