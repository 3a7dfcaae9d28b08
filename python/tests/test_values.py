"""What is computed: the program's results to the byte, and closed forms."""

import numpy
import pytest

import tavrix


def same_file(a, b):
    with open(a, "rb") as one, open(b, "rb") as other:
        return one.read() == other.read()


@pytest.mark.parametrize(
    "options, settings",
    [
        ([], {}),
        (["--quality", "smooth", "--min-neighbours", "1"], {"quality": "smooth", "min_neighbours": 1}),
        (["-f", "anisotropic", "-r", "0.6", "--no-clean"], {"field": "anisotropic", "radius": 0.6, "clean": False}),
        (["-f", "distance", "-r", "0.8", "--decimate", "0.3"], {"field": "distance", "radius": 0.8, "decimate": 0.3}),
        (["--smooth", "3", "-s", "0.3", "--simplify", "0.05"], {"smooth": 3, "spacing": 0.3, "simplify": 0.05}),
    ],
)
def test_surfaces_are_the_programs_to_the_byte(program, drops, options, settings):
    heat = drops[:, 0] * 2
    tavrix.Particles(drops, velocities=drops[::-1]).write("drops.bin")
    particles = tavrix.Particles.read("drops.bin")
    numpy.savetxt("drops.csv", numpy.column_stack([particles.positions, heat]), "%.9g", ",", header="x,y,z,heat", comments="")
    for file in ["drops.bin", "drops.csv"]:
        program("surface", file, "-o", "program.ply", "--attribute", "all", *options)
        ours = tavrix.Particles.read(file).reconstruct(**settings)
        ours.write("package.ply")
        assert same_file("program.ply", "package.ply"), file
        program("surface", file, "-o", "program.obj", *options)
        ours.write("package.obj")
        assert same_file("program.obj", "package.obj"), file


def test_solids_are_the_programs_to_the_byte(program):
    tavrix.Mesh.sphere(500, 2).write("ball.obj", digits="exact")
    ball = tavrix.Mesh.read("ball.obj")
    far = tavrix.Mesh(numpy.concatenate([ball.vertices, ball.vertices + 100]), numpy.concatenate([ball.faces, ball.faces + 252]))
    far.write("far.obj", digits="exact")  # so wide that the program goes by blocks
    program("levelset", "far.obj", "-o", "program.stl", "--offset", "0.3", "--shell", "0.5", "-s", "0.1")
    tavrix.Mesh.read("far.obj").offset(0.3, 0.1, shell=0.5).write("package.stl")
    assert same_file("program.stl", "package.stl")
    program("simplify", "ball.obj", "-o", "program.bin", "--faces", "100")
    ball.decimate(faces=100).write("package.bin")
    assert same_file("program.bin", "package.bin")
    program("subdivide", "ball.obj", "-o", "program.bin", "--levels", "2", "--sharp", "10")
    ball.subdivide(2, sharp=10).write("package.bin")
    assert same_file("program.bin", "package.bin")
    program("remesh", "ball.obj", "-o", "program.bin", "--edge", "0.2")
    ball.remesh(0.2).write("package.bin")
    assert same_file("program.bin", "package.bin")
    program("convert", "ball.obj", "program.bin", "--clip=-9,-9,0,9,9,9", "--clip-closed")
    ball.clip((-9, -9, 0), (9, 9, 9), closed=True).write("package.bin")
    assert same_file("program.bin", "package.bin")


def test_slices_are_the_programs_to_the_digit(program):
    tavrix.Mesh.sphere(500, 2).write("ball.obj", digits="exact")
    ball = tavrix.Mesh.read("ball.obj")
    for heights, axis in [([1.5, 0, -0.25], 2), ([0.5, 0.75], (1, 2, 0.5))]:
        direction = "z" if axis == 2 else ",".join(map(str, axis))
        program("slice", "ball.obj", "-o", "cuts.csv", "--axis", direction, "--at=" + ",".join(map(str, heights)))
        table = numpy.genfromtxt("cuts.csv", delimiter=",", names=True, dtype=None, encoding="utf-8")
        layers = ball.slice(heights, axis)
        for layer, loops in enumerate(layers):
            assert len(loops) == 1
            rows = table[table["layer"] == layer]
            assert numpy.array_equal(loops[0], numpy.column_stack([rows["x"], rows["y"]]))
            x, y = loops[0].T
            area = (x * numpy.roll(y, -1) - y * numpy.roll(x, -1)).sum() / 2
            assert area == pytest.approx(numpy.pi * (4 - heights[layer] ** 2), rel=0.05)
    shell = tavrix.Mesh(ball.vertices, ball.faces[:-40])
    loops, chains = shell.slice(numpy.linspace(-1.9, 1.9, 30), open=True)
    assert len(loops) == len(chains) == 30 and any(chains) and any(loops)


def test_an_array_becomes_a_ball():
    x, y, z = numpy.ogrid[-1.2:1.2:49j, -1.2:1.2:49j, -1.2:1.2:49j]
    distance = numpy.sqrt(x * x + y * y + z * z)
    for samples, inside in [(1 - distance, "above"), (distance - 1, "below")]:
        for dtype in ["f4", "f8"]:
            ball = tavrix.marching_cubes(samples.astype(dtype), 0, 0.05, (-1.2, -1.2, -1.2), inside=inside, normals=True)
            assert ball.topology.is_manifold and ball.is_closed
            assert abs(ball.volume / (4 / 3 * numpy.pi) - 1) < 2e-3
            radii = numpy.linalg.norm(ball.vertices, axis=1)
            assert abs(radii - 1).max() < 2e-3
            assert numpy.einsum("ij,ij->i", ball.vertices / radii[:, None], ball.normals).min() > 0.99
    eighths = tavrix.marching_cubes(numpy.round(100 + 50 * (1 - distance)).astype("u1"), 100.5, 0.05)
    assert eighths.is_closed and abs(eighths.volume - ball.volume) < 0.3
    open_ball = tavrix.marching_cubes(1 - distance[:25], 0, 0.05)
    assert not open_ball.is_closed and open_ball.normals is None


def test_axes_spacing_and_origin_are_those_of_the_array():
    samples = numpy.zeros((4, 5, 6))
    samples[2, 3, 1] = 1
    peak = tavrix.marching_cubes(samples, 0.5, (1, 10, 100), (7, 8, 9))
    assert peak.bounds.mean(axis=0).tolist() == [7 + 2, 8 + 30, 9 + 100]
    assert (peak.bounds[1] - peak.bounds[0]).tolist() == [1, 10, 100]


def test_fields_are_evaluated_where_points_lie():
    field = tavrix.Field.from_function(lambda x, y, z: 2 * x - y + 0.5 * z, (0, 0, 0), (4, 3, 2), 0.5)
    points = numpy.random.default_rng(2).uniform([0, 0, 0], [4, 3, 2], (20_000, 3))
    for threads in [1, 3]:
        assert numpy.allclose(field.evaluate(points, threads=threads), points @ [2, -1, 0.5])
        assert numpy.allclose(field.gradient(points, threads=threads), [2, -1, 0.5])
    assert numpy.allclose(field.gradients(), [2, -1, 0.5])
    assert numpy.isnan(field.evaluate([[9, 9, 9]])[0]) and field.evaluate([[9, 9, 9]], outside=-1)[0] == -1

    peak = numpy.zeros((9, 9, 9))
    peak[4, 4, 4] = 1
    blurred = tavrix.Field(peak).diffuse(0.1, mode="explicit").samples
    assert numpy.allclose([blurred[4, 4, 4], blurred[4, 4, 3], blurred[4, 3, 3]], [0.4, 0.1, 0])
    assert abs(tavrix.Field(peak).diffuse(0.5).samples.sum() - 1) < 1e-2


def test_particle_fields_and_level_sets_have_their_shape():
    drop = tavrix.Field.from_particles([[1, 2, 3]], 1, 0.1, field="distance")
    assert abs(drop.evaluate([[1, 2, 3], [2, 2, 3]]) - [1, 0.421875]).max() < 0.01
    ball = tavrix.LevelSet.from_particles([[1, 2, 3]], 1, 0.05)
    assert abs(ball.extract().volume / (4 / 3 * numpy.pi) - 1) < 0.01
    assert abs(ball.offset(0.5).extract().volume / (4 / 3 * numpy.pi * 1.5**3) - 1) < 0.02
    wall = ball.shell(0.5).extract()
    assert wall.cavity_count == 1 and abs(wall.volume / (4 / 3 * numpy.pi * (1 - 0.5**3)) - 1) < 0.02
    assert ball.redistance().invert().evaluate([[1, 2, 3.9]])[0] > 0.08


def brute_nearest(points, mesh):
    """Distances to the vertices, which bound those to the surface from above."""
    return numpy.linalg.norm(points[:, None] - mesh.vertices[None], axis=2).min(axis=1)


def test_colliders_answer_batches():
    ball = tavrix.Mesh.sphere(500, 2).offset(0, 0.2)
    collider = tavrix.Collider(ball)
    random = numpy.random.default_rng(4)
    points = random.uniform(-4, 4, (5_000, 3))
    radius = numpy.linalg.norm(points, axis=1)
    inside = collider.contains(points)
    assert inside[radius < 1.9].all() and not inside[radius > 2.05].any()
    assert numpy.array_equal(inside, abs(collider.winding_numbers(points)) > 0.5)
    near = collider.nearest(points)
    assert abs(near.distance - abs(radius - 2)).max() < 0.06
    assert (near.distance <= brute_nearest(points, ball) + 1e-12).all()
    assert numpy.allclose(numpy.linalg.norm(near.position - points, axis=1), near.distance)
    corners = ball.vertices[ball.faces[near.face]]
    assert numpy.allclose(numpy.einsum("ij,ijk->ik", near.barycentric, corners), near.position)
    assert numpy.array_equal(collider.signed_distance(points), numpy.where(inside, -near.distance, near.distance))
    assert (collider.nearest(points, limit=0.1).face >= 0).sum() == (near.distance <= 0.1).sum()

    rays = collider.cast_rays(points, -points)
    assert numpy.allclose(rays.position, points + rays.distance[:, None] * -points)
    away = collider.cast_rays(points[radius > 2.1], points[radius > 2.1])
    assert (away.face == -1).all() and numpy.isinf(away.distance).all() and len(away) == (radius > 2.1).sum()
    one = collider.cast_rays([[0, 0, 0]], points, threads=2)
    assert numpy.allclose(numpy.linalg.norm(one.position, axis=1), 2, atol=0.06)


def test_particles_know_their_neighbours(drops):
    particles = tavrix.Particles(drops)
    apart = numpy.linalg.norm(drops[:, None] - drops[None], axis=2)
    assert numpy.array_equal(particles.neighbour_counts(1.3), (apart < 1.3).sum(axis=1) - 1)
    assert particles.strays(3).tolist() == [len(drops) - 1]
    assert 0.9 < particles.spacing() < 1.1
    assert numpy.allclose(particles.interpolate(numpy.full(len(drops), 3), drops, 2), 3)
    mesh, report = tavrix.reconstruct(drops, 0.7, min_neighbours=1, return_report=True)
    assert report.left_out.tolist() == [len(drops) - 1] and report.particles == len(drops) - 1
    again = tavrix.reconstruct(drops, report.radius, spacing=report.spacing, min_neighbours=1)
    assert numpy.array_equal(mesh.vertices, again.vertices)


def test_meshes_are_changed_into_others():
    ball = tavrix.Mesh.sphere(500, 2)
    soup = tavrix.Mesh(ball.vertices[ball.faces].reshape(-1, 3), numpy.arange(1500).reshape(-1, 3))
    assert len(soup.weld().vertices) == 252 and soup.weld().topology.is_manifold
    assert numpy.allclose(ball.flip().normals, -ball.normals) and ball.flip().volume == -ball.volume
    turned = ball.faces.copy()
    turned[::2] = turned[::2, ::-1]
    assert numpy.isclose(tavrix.Mesh(ball.vertices, turned).repair().volume, ball.volume)
    hollow = tavrix.Mesh(numpy.concatenate([ball.vertices, ball.vertices / 2]),
                         numpy.concatenate([ball.faces, ball.faces[:, ::-1] + 252]))
    assert (hollow.part_count, hollow.cavity_count, hollow.fill_cavities().part_count) == (2, 1, 1)
    assert numpy.isclose(ball.area, 4 * numpy.pi * 4, rtol=0.02)
    assert (ball.vertices == tavrix.Mesh.sphere(500, 2).vertices).all()
