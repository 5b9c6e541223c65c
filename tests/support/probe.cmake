# The probe build: the plug-in's code with a clock the tests set, an allocation seam, the
# reset of every process-global and entry points to its units, for the tests and the fuzzer.
pixelbridge_plugin(pixelbridge_probe
  EXPORTS ${CMAKE_SOURCE_DIR}/tests/support/probe_exports.map
  SOURCES ${CMAKE_SOURCE_DIR}/tests/support/probe_entry.cpp
  LINK_OPTIONS -Wl,--wrap=calloc)
