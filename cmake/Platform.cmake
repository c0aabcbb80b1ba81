# The five device libraries as targets: orvane::ossel, orvane::ovrhost, orvane::webguidb, orvane::lcdpanel,
# orvane::cooling. With ORVANE_PLATFORM=host they are built from platform/; with device they are searched
# on the system (CMAKE_PREFIX_PATH or CMAKE_LIBRARY_PATH name the folders of the board's libraries).

set(ORVANE_DEVICE_LIBRARIES ossel ovrhost webguidb lcdpanel cooling)

if(ORVANE_PLATFORM STREQUAL "device")
  foreach(name IN LISTS ORVANE_DEVICE_LIBRARIES)
    find_library(ORVANE_LIBRARY_${name} ${name} REQUIRED)
    add_library(orvane::${name} SHARED IMPORTED)
    set_target_properties(orvane::${name} PROPERTIES
      IMPORTED_LOCATION ${ORVANE_LIBRARY_${name}} IMPORTED_NO_SONAME ON)
  endforeach()
elseif(NOT ORVANE_PLATFORM STREQUAL "host")
  message(FATAL_ERROR "ORVANE_PLATFORM is \"${ORVANE_PLATFORM}\"; allowed are host and device")
endif()

# orvane_device_library(NAME SOURCES ... LIBRARIES ...): one device library of the host platform. It
# exports only what its public header declares.
function(orvane_device_library name)
  cmake_parse_arguments(LIB "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_library(${name} SHARED ${LIB_SOURCES})
  add_library(orvane::${name} ALIAS ${name})
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON UNITY_BUILD OFF)
  target_link_libraries(${name} PUBLIC orvane_include PRIVATE ${LIB_LIBRARIES})
  install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orvane-webgui COMPONENT platform)
  orvane_strip(${name})
endfunction()
