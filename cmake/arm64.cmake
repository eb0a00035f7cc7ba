set(crossArchitecture arm64)
set(crossMachine aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/Cross.cmake)
