set(crossArchitecture s390x)
set(crossMachine s390x)
include(${CMAKE_CURRENT_LIST_DIR}/Cross.cmake)
