# iniparser::iniparser, which ships neither a CMake package nor, before version 4.2, a pkg-config file.
find_path(IniParser_INCLUDE_DIR iniparser.h PATH_SUFFIXES iniparser)
find_library(IniParser_LIBRARY iniparser)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(IniParser REQUIRED_VARS IniParser_LIBRARY IniParser_INCLUDE_DIR)
if(IniParser_FOUND AND NOT TARGET iniparser::iniparser)
  add_library(iniparser::iniparser UNKNOWN IMPORTED)
  set_target_properties(iniparser::iniparser PROPERTIES
    IMPORTED_LOCATION "${IniParser_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${IniParser_INCLUDE_DIR}")
endif()
