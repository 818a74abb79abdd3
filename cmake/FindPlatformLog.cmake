# platform::log, the system's log library: <android/log.h> and liblog. On a device both are in the usual places,
# on Debian (android-liblog-dev) below directories of their own; PlatformLog_RPATH is then what an installed
# library needs to find it.
find_path(PlatformLog_INCLUDE_DIR android/log.h PATH_SUFFIXES android)
find_library(PlatformLog_LIBRARY log PATH_SUFFIXES android "${CMAKE_LIBRARY_ARCHITECTURE}/android")
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PlatformLog REQUIRED_VARS PlatformLog_LIBRARY PlatformLog_INCLUDE_DIR)
if(PlatformLog_FOUND AND NOT TARGET platform::log)
  add_library(platform::log UNKNOWN IMPORTED)
  set_target_properties(platform::log PROPERTIES
    IMPORTED_LOCATION "${PlatformLog_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${PlatformLog_INCLUDE_DIR}")
endif()
set(PlatformLog_RPATH)
if(PlatformLog_LIBRARY MATCHES "^(.*/android)/[^/]+$")
  string(REPLACE "${CMAKE_SYSROOT}" "" PlatformLog_RPATH "${CMAKE_MATCH_1}")
endif()
