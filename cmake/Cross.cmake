# Builds for hosts of another architecture with Debian's cross compiler. script/cross-root lays down the libraries that the
# program and its tests are linked with. `crossArchitecture` is Debian's name of it and `crossMachine` that of the compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${crossMachine})
set(CMAKE_CXX_COMPILER ${crossMachine}-linux-gnu-g++)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/cross/${crossArchitecture})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
