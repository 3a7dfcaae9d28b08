"""Renders a frame of a particle sequence in Blender, which has the add-on:

    blender -b --factory-startup -P blender_picture.py -- frame_0020.bin picture.png
"""

import re
import sys

import bpy

bpy.ops.preferences.addon_enable(module="tavrix_surface")
particles, picture = sys.argv[sys.argv.index("--") + 1 :]
scene = bpy.context.scene
scene.frame_set(int(re.findall(r"\d+", particles)[-1]))
bpy.data.objects.remove(bpy.data.objects["Cube"])
bpy.ops.tavrix.add_surface(filepath=particles)
water = bpy.context.object
water.tavrix.preview = False
water.tavrix.quality = "smooth"


def material(name, colour, roughness, transmission=0.0):
    """One that lets light through, or does not."""
    made = bpy.data.materials.new(name)
    made.use_nodes = True
    inputs = made.node_tree.nodes["Principled BSDF"].inputs
    inputs["Base Color"].default_value = (*colour, 1)
    inputs["Roughness"].default_value = roughness
    inputs["Transmission"].default_value = transmission
    inputs["IOR"].default_value = 1.33
    return made


water.data.materials.append(material("water", (0.55, 0.8, 0.95), 0.02, 1.0))
low, high = water.bound_box[0], water.bound_box[6]
bpy.ops.mesh.primitive_plane_add(size=40, location=(0, 0, low[2] - 0.01))
bpy.context.object.data.materials.append(material("floor", (0.35, 0.33, 0.3), 0.6))

middle = [(a + b) / 2 for a, b in zip(low, high)]
size = max(b - a for a, b in zip(low, high))
target = bpy.data.objects.new("target", None)
scene.collection.objects.link(target)
target.location = middle
scene.camera.location = (middle[0] - 0.9 * size, middle[1] - 1.9 * size, middle[2] + 0.9 * size)
track = scene.camera.constraints.new("TRACK_TO")
track.target, track.track_axis, track.up_axis = target, "TRACK_NEGATIVE_Z", "UP_Y"
sun = bpy.data.objects["Light"]
sun.data.type, sun.data.energy, sun.data.angle = "SUN", 4, 0.1
sun.rotation_euler = (0.7, 0.3, 0.5)
scene.world.node_tree.nodes["Background"].inputs[0].default_value = (0.55, 0.7, 0.9, 1)

scene.render.engine = "CYCLES"
scene.cycles.samples, scene.cycles.use_denoising = 160, False
scene.render.resolution_x, scene.render.resolution_y = 800, 450
scene.render.use_motion_blur = True
scene.render.filepath = picture
bpy.ops.render.render(write_still=True)
