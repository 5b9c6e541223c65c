# The probe build: the plug-in's code with a clock the tests set, an allocation that fails on
# demand (each in place of the shipped plug-in's own file), the reset of every process-global
# and entry points to its units, for the tests and the fuzzer. A bundle on the Mac too, whose
# linker takes the exports as a pattern, so that the Mac run tree runs its tests on both slices.
pixelbridge_plugin(pixelbridge_probe
  EXPORTS ${CMAKE_SOURCE_DIR}/tests/support/probe_exports.map
  SOURCES ${CMAKE_SOURCE_DIR}/tests/support/probe_entry.cpp
  LINK_OPTIONS $<$<PLATFORM_ID:Darwin>:-Wl,-exported_symbol,_PixelbridgeProbe*>)
