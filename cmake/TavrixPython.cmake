# Whether the Python package is built: by default with the tools, where pybind11 and Python's headers are installed. For
# the system's Python, which is the one that has the distribution's numpy, unless -DPython_EXECUTABLE names another.
if(NOT Python_EXECUTABLE AND EXISTS /usr/bin/python3)
    set(Python_EXECUTABLE /usr/bin/python3)
endif()
if(TAVRIX_BUILD_TOOLS AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CROSSCOMPILING AND NOT CMAKE_CXX_FLAGS MATCHES "-stdlib=|-fsanitize=")
    find_package(Python 3.9 QUIET COMPONENTS Interpreter Development.Module)
    find_package(pybind11 2.10 CONFIG QUIET)
endif()
option(TAVRIX_BUILD_PYTHON "Build the Python package" ${pybind11_FOUND})
if(TAVRIX_BUILD_PYTHON)
    find_package(Python 3.9 REQUIRED COMPONENTS Interpreter Development.Module)
    find_package(pybind11 2.10 CONFIG REQUIRED)
endif()
