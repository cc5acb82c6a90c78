# The Python that the package is built for: the system's, whose NumPy and h5py are the
# Debian packages, even where another one comes first in PATH.
# -DPython3_EXECUTABLE=<python> picks another.
set(Python3_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "Python that the package is built for")
find_package(Python3 QUIET COMPONENTS Interpreter Development.Module NumPy)

set(python_found "Python ${Python3_VERSION} (${Python3_EXECUTABLE})")
set(python_lacks)
if(NOT Python3_Interpreter_FOUND)
  set(python_found "${Python3_EXECUTABLE}")
  set(python_lacks "is no Python 3")
elseif(NOT Python3_Development.Module_FOUND)
  set(python_lacks "comes without its headers")
elseif(NOT Python3_NumPy_FOUND)
  set(python_lacks "comes without NumPy")
endif()
if(python_lacks)
  message(FATAL_ERROR
    "${python_found} ${python_lacks}; needed is a Python 3 with its headers and NumPy, and "
    "-DPython3_EXECUTABLE=<python> says which one to build for.")
endif()
message(STATUS "${python_found}")

set(PYBIND11_NOPYTHON ON)
find_package(pybind11 CONFIG REQUIRED)
