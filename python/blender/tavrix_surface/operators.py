"""What the user does: adds a surface, fills its cache, and reshapes the selected solids."""

import bpy
from bpy.props import BoolProperty, FloatProperty, StringProperty
from bpy_extras.io_utils import ImportHelper

from . import blender_mesh, frames, handlers, surfaces


class AddSurface(bpy.types.Operator, ImportHelper):
    """Add an object that shows the surface of a particle sequence at the current frame"""

    bl_idname = "tavrix.add_surface"
    bl_label = "Particle Surface"
    bl_options = {"REGISTER", "UNDO"}

    filter_glob: StringProperty(
        default="*.bin;*.bgeo;*.vtu;*.vtp;*.vts;*.vtk;*.ply;*.csv;*.tsv;*.xyz;*.txt;*.npy;*.json;*.gz", options={"HIDDEN"})
    y_is_up: BoolProperty(name="Y is Up", default=True, description="The particles' y axis points up")

    def execute(self, context):
        pattern = frames.pattern_of(self.filepath)
        name = bpy.path.display_name_from_filepath(self.filepath)
        thing = bpy.data.objects.new(name, bpy.data.meshes.new(name))
        context.collection.objects.link(thing)
        bpy.ops.object.select_all(action="DESELECT")
        thing.select_set(True)
        context.view_layer.objects.active = thing
        thing.tavrix.y_is_up = self.y_is_up
        thing.tavrix.files = pattern
        thing.tavrix.is_surface = True
        handlers.show(thing, context.scene)
        if thing.tavrix.message:
            self.report({"WARNING"}, thing.tavrix.message)
        return {"FINISHED"}


class FillCache(bpy.types.Operator):
    """Make the surfaces of all frames in the scene's range, as they are rendered, and keep them in the cache"""

    bl_idname = "tavrix.fill_cache"
    bl_label = "Fill the Cache"

    @classmethod
    def poll(cls, context):
        thing = context.object
        return thing is not None and thing.tavrix.is_surface and thing.tavrix.cache != ""

    def execute(self, context):
        settings = context.object.tavrix
        final, pattern, scene = settings.settings(True), settings.pattern(), context.scene
        failed = 0
        context.window_manager.progress_begin(scene.frame_start, scene.frame_end)
        for frame in range(scene.frame_start, scene.frame_end + 1):
            context.window_manager.progress_update(frame)
            path = frames.file_at(pattern, frame + settings.offset)
            try:
                if path is not None:
                    surfaces.surface(path, final)
            except (OSError, ValueError, MemoryError) as error:
                failed += 1
                self.report({"WARNING"}, f"Frame {frame}: {error}")
        context.window_manager.progress_end()
        return {"FINISHED"} if failed == 0 else {"CANCELLED"}


class ReshapeSolid:
    """What the operators on solids share: they replace the meshes of the selected objects."""

    bl_options = {"REGISTER", "UNDO"}
    spacing: FloatProperty(name="Spacing", min=0, precision=4, subtype="DISTANCE",
                           description="Of the lattice; 0: a 128th of the longest side")

    @classmethod
    def poll(cls, context):
        return context.mode == "OBJECT" and any(thing.type == "MESH" for thing in context.selected_objects)

    def execute(self, context):
        done = 0
        for thing in context.selected_objects:
            if thing.type != "MESH" or thing.tavrix.is_surface:
                continue
            try:
                mesh = self.reshaped(blender_mesh.taken(thing))
            except (ValueError, MemoryError) as error:
                self.report({"ERROR"}, f"{thing.name}: {error}")
                continue
            thing.modifiers.clear()
            if thing.data.users > 1:
                thing.data = thing.data.copy()
            blender_mesh.fill(thing.data, mesh)
            done += 1
        return {"FINISHED"} if done else {"CANCELLED"}


class OffsetSolid(ReshapeSolid, bpy.types.Operator):
    """Grow the selected solids by a distance, or shrink them; modifiers are applied"""

    bl_idname = "tavrix.offset"
    bl_label = "Offset"
    distance: FloatProperty(name="Distance", default=0.1, precision=4, subtype="DISTANCE")

    def reshaped(self, mesh):
        return mesh.offset(self.distance, self.spacing or None, normals=False)


class ShellSolid(ReshapeSolid, bpy.types.Operator):
    """Hollow the selected solids to a wall inside their surface; modifiers are applied"""

    bl_idname = "tavrix.shell"
    bl_label = "Shell"
    thickness: FloatProperty(name="Thickness", default=0.1, min=1e-6, precision=4, subtype="DISTANCE")

    def reshaped(self, mesh):
        return mesh.offset(0, self.spacing or None, shell=self.thickness, normals=False)


class RemeshSolid(ReshapeSolid, bpy.types.Operator):
    """Mesh the selected solids anew, as one closed surface each; modifiers are applied"""

    bl_idname = "tavrix.remesh"
    bl_label = "Remesh"

    def reshaped(self, mesh):
        return mesh.offset(0, self.spacing or None, normals=False)


CLASSES = (AddSurface, FillCache, OffsetSolid, ShellSolid, RemeshSolid)


def register():
    for kind in CLASSES:
        bpy.utils.register_class(kind)


def unregister():
    for kind in reversed(CLASSES):
        bpy.utils.unregister_class(kind)
