#!/usr/bin/python3
"""Writes a million particles with velocities and densities in every format, and tells how fast bench_particle_files
reads them and how fast VTK, NumPy or Python's json do, in turn: particle_file_peers.py BENCH_PARTICLE_FILES [FOLDER].
Needs python3-vtk9 and python3-numpy."""

import json
import os
import struct
import subprocess
import sys
import tempfile
import time

import numpy
import vtk
from vtk.util.numpy_support import numpy_to_vtk

COUNT = 1_000_000
NAMES = ("x", "y", "z", "vx", "vy", "vz", "density")


def make_rows():
    random = numpy.random.default_rng(1)
    parts = random.uniform(-3, 5, (COUNT, 3)), random.normal(0, 1, (COUNT, 3)), random.uniform(900, 1100, (COUNT, 1))
    return numpy.hstack(parts).astype("f4")


def poly_data(rows):
    data, points = vtk.vtkPolyData(), vtk.vtkPoints()
    points.SetData(numpy_to_vtk(rows[:, :3].copy(), deep=True))
    data.SetPoints(points)
    for name, values in (("velocity", rows[:, 3:6]), ("density", rows[:, 6])):
        array = numpy_to_vtk(values.copy(), deep=True)
        array.SetName(name)
        data.GetPointData().AddArray(array)
    return data


def reader(kind, name):
    def read():
        made = kind()
        made.SetFileName(name)
        made.Update()
    return read


def vtk_files(rows):
    data = poly_data(rows)
    for text in (True, False):
        name = f"legacy_{'text' if text else 'binary'}.vtk"
        writer = vtk.vtkPolyDataWriter()
        writer.SetInputData(data)
        writer.SetFileType(vtk.VTK_ASCII if text else vtk.VTK_BINARY)
        writer.SetFileName(name)
        writer.Write()
        yield name, reader(vtk.vtkPolyDataReader, name)
    for mode, compressor in (("Ascii", "None"), ("Binary", "None"), ("Binary", "ZLib"), ("Appended", "None"), ("Appended", "ZLib")):
        name = f"{mode}_{compressor}.vtp".lower()
        writer = vtk.vtkXMLPolyDataWriter()
        writer.SetInputData(data)
        getattr(writer, f"SetDataModeTo{mode}")()
        getattr(writer, f"SetCompressorTypeTo{compressor}")()
        writer.SetEncodeAppendedData(False)
        writer.SetFileName(name)
        writer.Write()
        yield name, reader(vtk.vtkXMLPolyDataReader, name)


def other_files(rows):
    numpy.savetxt("table.csv", rows, delimiter=",", header=",".join(NAMES), comments="", fmt="%.7g")
    yield "table.csv", lambda: numpy.loadtxt("table.csv", delimiter=",", skiprows=1, dtype="f4")
    numpy.savetxt("plain.xyz", rows[:, :3], fmt="%.7g")
    yield "plain.xyz", lambda: numpy.loadtxt("plain.xyz", dtype="f4")
    numpy.save("table.npy", rows)
    yield "table.npy", lambda: numpy.load("table.npy")
    with open("columns.json", "w", encoding="ascii") as file:
        json.dump({"positions": rows[:, :3].tolist(), "density": rows[:, 6].tolist()}, file)
    yield "columns.json", lambda: json.load(open("columns.json", encoding="ascii"))
    header = "ply\nformat {} 1.0\nelement vertex %d\n" % COUNT + "".join(f"property float {n}\n" for n in NAMES) + "end_header\n"
    with open("binary.ply", "wb") as file:
        file.write(header.format("binary_little_endian").encode() + rows.tobytes())
    yield "binary.ply", reader(vtk.vtkPLYReader, "binary.ply")
    with open("text.ply", "w", encoding="ascii") as file:
        file.write(header.format("ascii"))
        numpy.savetxt(file, rows, fmt="%.7g")
    yield "text.ply", reader(vtk.vtkPLYReader, "text.ply")
    attributes = b"\0\1v\0\3" + struct.pack(">i3f", 5, 0, 0, 0) + b"\0\7density\0\1" + struct.pack(">if", 0, 0)
    records = numpy.insert(rows, 3, 1, axis=1).astype(">f4")
    with open("points.bgeo", "wb") as file:
        file.write(b"BgeoV" + struct.pack(">9i", 5, COUNT, 0, 0, 0, 2, 0, 0, 0) + attributes + records.tobytes())
    yield "points.bgeo", None


def seconds(read):
    def once():
        start = time.perf_counter()
        read()
        return time.perf_counter() - start
    first = once()
    return min([first] + [once() for _ in range(4 if first < 0.5 else 0)])


def main():
    bench = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as temporary:
        os.chdir(sys.argv[2] if len(sys.argv) > 2 else temporary)
        rows = make_rows()
        print(f"{'file':20} {'MB':>6} {'ours, s':>8} {'MB/s':>6} {'peer, s':>8} {'ours/peer':>9}")
        for make in (vtk_files, other_files):
            for name, peer in make(rows):
                ours = float(subprocess.run([bench, name], capture_output=True, check=True, text=True).stdout.split()[1])
                megabytes = os.path.getsize(name) / 1e6
                theirs = seconds(peer) if peer else None
                compared = f"{theirs:8.3f} {ours / theirs:9.2f}" if theirs else ""
                print(f"{name:20} {megabytes:6.1f} {ours:8.3f} {megabytes / ours:6.0f} {compared}", flush=True)


main()
