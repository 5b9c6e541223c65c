# Sanitizer and fuzzer builds: every target, the plug-in included, is instrumented.
option(PIXELBRIDGE_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(PIXELBRIDGE_FUZZ "Build the libFuzzer target (clang only; implies the sanitizers)" OFF)

# The plug-in links with --no-undefined unless its sanitizer runtime comes from the program
# that loads it (clang links the runtimes into executables only).
set(PIXELBRIDGE_PLUGIN_NO_UNDEFINED -Wl,--no-undefined)

if(PIXELBRIDGE_SANITIZE OR PIXELBRIDGE_FUZZ)
  set(PIXELBRIDGE_SANITIZER_FLAGS
      -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_compile_options(${PIXELBRIDGE_SANITIZER_FLAGS})
  add_link_options(${PIXELBRIDGE_SANITIZER_FLAGS})
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    set(PIXELBRIDGE_PLUGIN_NO_UNDEFINED "")
  endif()
endif()

if(PIXELBRIDGE_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "PIXELBRIDGE_FUZZ needs clang: -DCMAKE_CXX_COMPILER=clang++")
  endif()
  # Coverage for the fuzzer from the plug-in's code, not from the reference host or the
  # test code; only the fuzz program links libFuzzer.
  add_compile_options(-fsanitize=fuzzer-no-link
                      -fsanitize-coverage-ignorelist=${CMAKE_SOURCE_DIR}/tests/fuzz/coverage_ignore.txt)
endif()
