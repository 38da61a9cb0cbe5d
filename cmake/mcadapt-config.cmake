# What find_package(mcadapt) reads. The check of a port runs its calls on threads.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/mcadapt-targets.cmake)
