"""Run by Blender: blender -b --factory-startup -P check_addon.py -- ADDON.zip FOLDER. Installs the add-on from its zip, shows
a sequence, changes frames, reshapes a solid and renders a picture into the folder; ends with status 1 when something is
not as expected."""

import pathlib
import sys
import traceback

import bpy
import numpy

ADDON, FOLDER = (pathlib.Path(argument).resolve() for argument in sys.argv[sys.argv.index("--") + 1 :])


def write_sequence():
    """A drop that falls and spreads over three frames, in files with velocities and a temperature."""
    random = numpy.random.default_rng(5)
    ball = random.uniform(-1, 1, (30_000, 3))
    ball = ball[numpy.linalg.norm(ball, axis=1) < 1]
    for frame in (1, 2, 3):
        positions = ball * [1 + 0.3 * frame, 1 / frame, 1 + 0.3 * frame] + [0, 4 - frame, 0]
        velocities = numpy.broadcast_to([0, -25, 0], positions.shape)
        rows = numpy.column_stack([positions, velocities, ball[:, 1], ball[:, 0]])
        numpy.savetxt(FOLDER / f"drop_{frame:04}.csv", rows, "%.7g", ",", header="x,y,z,vx,vy,vz,temperature,id", comments="")


def attribute(mesh, name, key, width):
    values = numpy.empty(len(mesh.vertices) * width, numpy.float32)
    mesh.attributes[name].data.foreach_get(key, values)
    return values.reshape(-1, width)


def corners(mesh):
    return numpy.array([vertex.co for vertex in mesh.vertices])


def check_install():
    bpy.ops.preferences.addon_install(filepath=str(ADDON), overwrite=True)
    bpy.ops.preferences.addon_enable(module="tavrix_surface")
    assert "tavrix_surface" in bpy.context.preferences.addons, "the add-on is not enabled"
    import tavrix

    print("kernel", tavrix.__version__, "from", pathlib.Path(tavrix.__file__).parent)


def check_sequence():
    scene = bpy.context.scene
    scene.frame_set(1)
    bpy.ops.tavrix.add_surface(filepath=str(FOLDER / "drop_0001.csv"))
    drop = bpy.context.object
    settings = drop.tavrix
    assert settings.message == "", settings.message
    assert settings.files.endswith("drop_{}.csv")
    coarse = len(drop.data.polygons)
    heights = []
    for frame in (1, 2, 3):
        scene.frame_set(frame)
        box = corners(drop.data)
        heights.append(box[:, 2].mean())
        assert abs(numpy.ptp(box[:, 0]) - 2 * (1 + 0.3 * frame)) < 0.3, "the surface is not as wide as the particles"
        velocity = attribute(drop.data, "velocity", "vector", 3)
        assert abs(velocity - [0, 0, -25]).max() < 1e-3, "velocities are not turned, or missing"
        warm = attribute(drop.data, "temperature", "value", 1)[:, 0]
        assert numpy.corrcoef(warm, box[:, 2])[0, 1] > 0.95, "the temperature is not where it was"
        assert "particle_id" in drop.data.attributes, "an attribute with a name of Blender's own is lost"
    assert heights[0] > heights[1] > heights[2], "the drop does not fall"
    scene.frame_set(7)
    assert len(drop.data.polygons) == 0 and "no file" in settings.message
    scene.frame_set(1)
    settings.preview = False
    assert len(drop.data.polygons) > 3 * coarse, "the preview is not coarser"
    settings.decimate = 0.25
    assert len(drop.data.polygons) < 1.5 * coarse
    settings.decimate, settings.preview = 1, True
    settings.crop, settings.crop_low, settings.crop_high = True, (-9, 3, -9), (9, 9, 9)
    assert corners(drop.data)[:, 2].min() > 2.8, "the crop does not crop"
    settings.crop = False
    return drop


def check_cache(drop):
    drop.tavrix.cache = str(FOLDER / "cache")
    bpy.context.scene.frame_end = 3
    assert bpy.ops.tavrix.fill_cache() == {"FINISHED"}
    bpy.context.scene.frame_set(2)
    kept = sorted(file.name for file in (FOLDER / "cache").glob("*.ply"))
    assert len([name for name in kept if name.startswith("drop_0002")]) == 2, kept  # the preview's, and the render's
    assert len(attribute(drop.data, "velocity", "vector", 3)) == len(drop.data.vertices)


def measured(mesh):
    """The volume, and whether every edge is of two faces."""
    import bmesh

    solid = bmesh.new()
    solid.from_mesh(mesh)
    volume, is_closed = solid.calc_volume(), all(len(edge.link_faces) == 2 for edge in solid.edges)
    solid.free()
    return volume, is_closed


def check_solids():
    bpy.ops.mesh.primitive_cube_add(size=2, location=(5, 0, 1))
    cube = bpy.context.object
    assert bpy.ops.tavrix.offset(distance=0.5, spacing=0.1) == {"FINISHED"}
    # a box, six slabs, and rounded edges and corners
    grown = 8 + 6 * 4 * 0.5 + 12 * 2 * numpy.pi * 0.25 / 4 + 4 / 3 * numpy.pi * 0.125
    assert abs(measured(cube.data)[0] / grown - 1) < 0.02
    assert bpy.ops.tavrix.shell(thickness=0.3, spacing=0.1) == {"FINISHED"}
    assert measured(cube.data)[0] < 0.7 * grown
    bpy.ops.mesh.primitive_torus_add(location=(8, 0, 1))
    assert bpy.ops.tavrix.remesh(spacing=0.05) == {"FINISHED"}
    assert measured(bpy.context.object.data)[1], "the ring is not closed"
    bpy.ops.object.delete()
    bpy.data.objects.remove(cube)


def check_render(drop):
    """A frame with motion blur, whose picture must differ from one without."""
    scene = bpy.context.scene
    scene.frame_set(2)
    scene.render.engine = "CYCLES"
    scene.cycles.samples, scene.cycles.use_denoising = 16, False
    scene.render.resolution_x, scene.render.resolution_y = 320, 200
    scene.camera.location, scene.camera.rotation_euler = (0, -12, 3), (1.45, 0, 0)
    pictures = []
    for blur in (False, True):
        scene.render.use_motion_blur = blur
        scene.render.filepath = str(FOLDER / f"render_{'blurred' if blur else 'sharp'}.png")
        bpy.ops.render.render(write_still=True)
        picture = bpy.data.images.load(scene.render.filepath)
        pictures.append(numpy.array(picture.pixels[:]).reshape(200, 320, 4)[..., :3])
    assert numpy.ptp(pictures[0]) > 0.3, "the picture is empty"
    different = abs(pictures[0] - pictures[1]).max(axis=2) > 0.1
    assert different.mean() > 0.005, "the velocities blur nothing"


def main():
    write_sequence()
    check_install()
    drop = check_sequence()
    check_cache(drop)
    check_solids()
    check_render(drop)
    bpy.ops.preferences.addon_disable(module="tavrix_surface")
    print("The add-on is as expected")


try:
    bpy.data.objects.remove(bpy.data.objects["Cube"])
    main()
except Exception:
    traceback.print_exc()
    sys.exit(1)
