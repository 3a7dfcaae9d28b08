#pragma once

/// Other libraries on the same files, each in a source of its own because their headers are theirs. The
/// readers return the number of faces, -1 on failure.
long long tinyobjRead(const char* path);
long long assimpRead(const char* path);
/// Writes what assimpRead read last; `format` is assimp's name of it ("obj", "stl", "stlb"). False on
/// failure.
bool assimpWrite(const char* path, const char* format);
