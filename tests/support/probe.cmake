# The probe build: the plug-in's code with a clock the tests set, an allocation seam, the
# reset of every process-global and entry points to its units, for the tests and the fuzzer.
# Where programs aren't linked, its objects alone.
if(PIXELBRIDGE_LINK_PROGRAMS)
  pixelbridge_plugin(pixelbridge_probe
    EXPORTS ${CMAKE_SOURCE_DIR}/tests/support/probe_exports.map
    SOURCES ${CMAKE_SOURCE_DIR}/tests/support/probe_entry.cpp
    LINK_OPTIONS -Wl,--wrap=calloc)
else()
  pixelbridge_program(pixelbridge_probe ${CMAKE_SOURCE_DIR}/tests/support/probe_entry.cpp)
  target_link_libraries(pixelbridge_probe PRIVATE pixelbridge_code)
endif()
