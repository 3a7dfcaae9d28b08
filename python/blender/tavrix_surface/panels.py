"""Where the settings and operators are found."""

import bpy

from . import operators


class SurfacePanel(bpy.types.Panel):
    bl_idname = "OBJECT_PT_tavrix_surface"
    bl_label = "Particle Surface"
    bl_space_type = "PROPERTIES"
    bl_region_type = "WINDOW"
    bl_context = "object"

    GROUPS = {
        "": ("files", "offset", "y_is_up", "scale"),
        "Surface": ("quality", "field", "radius", "spacing", "influence", "level", "min_neighbours", "fill_cavities",
                    "decimate"),
        "Attributes and Cache": ("attributes", "cache"),
    }

    @classmethod
    def poll(cls, context):
        return context.object is not None and context.object.tavrix.is_surface

    def draw(self, context):
        settings = context.object.tavrix
        self.layout.use_property_split = True
        if settings.message:
            self.layout.label(text=settings.message, icon="ERROR")
        for title, names in self.GROUPS.items():
            column = self.layout.column(heading=title)
            for name in names:
                column.prop(settings, name)
        self.draw_switched(settings, "preview", "preview_factor")
        self.draw_switched(settings, "set_smooth", "smooth")
        self.draw_switched(settings, "crop", "crop_low", "crop_high")
        self.layout.operator(operators.FillCache.bl_idname)

    def draw_switched(self, settings, switch, *names):
        """Settings that count only when a switch is on."""
        column = self.layout.column()
        column.prop(settings, switch)
        switched = column.column()
        switched.active = getattr(settings, switch)
        for name in names:
            switched.prop(settings, name)


class SolidMenu(bpy.types.Menu):
    bl_idname = "VIEW3D_MT_tavrix_solid"
    bl_label = "Tavrix"

    def draw(self, context):
        for kind in (operators.OffsetSolid, operators.ShellSolid, operators.RemeshSolid):
            self.layout.operator(kind.bl_idname)


def add_to_mesh_menu(menu, context):
    menu.layout.operator(operators.AddSurface.bl_idname, icon="MOD_FLUIDSIM")


def add_to_object_menu(menu, context):
    menu.layout.menu(SolidMenu.bl_idname)


def register():
    bpy.utils.register_class(SurfacePanel)
    bpy.utils.register_class(SolidMenu)
    bpy.types.VIEW3D_MT_mesh_add.append(add_to_mesh_menu)
    bpy.types.VIEW3D_MT_object.append(add_to_object_menu)


def unregister():
    bpy.types.VIEW3D_MT_object.remove(add_to_object_menu)
    bpy.types.VIEW3D_MT_mesh_add.remove(add_to_mesh_menu)
    bpy.utils.unregister_class(SolidMenu)
    bpy.utils.unregister_class(SurfacePanel)
