# Windows: the DLL's export and import tables, and the demo's 50 round trips where Wine runs
# the programs.
add_test(NAME plugin_exports_its_entry_and_imports_system_dlls
         COMMAND sh ${CMAKE_CURRENT_SOURCE_DIR}/check_dll.sh ${CMAKE_OBJDUMP} $<TARGET_FILE:pixelbridge>)
if(CMAKE_CROSSCOMPILING_EMULATOR)
  add_test(NAME pixelhost_demo COMMAND pixelhost demo --out ${CMAKE_CURRENT_BINARY_DIR}/pixelhost-demo)
endif()
