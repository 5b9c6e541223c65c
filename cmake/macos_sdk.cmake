# The SDK folder the macOS tree builds against without a Mac or Apple's SDK, assembled once
# in the build tree: the macOS 11 headers of Darwin (Apple's APSL 2.0 and BSD licences), of
# libc++ (Apache 2.0 with LLVM exceptions) and libSystem's text stub, all as the pinned zig
# package carries them (cmake/zig_package.cmake); and the project's stubs of CoreGraphics and libc++
# (platform/macos/), which name just what the plug-in links to. Used at build time only:
# nothing from it is committed or shipped.
include(${CMAKE_CURRENT_LIST_DIR}/zig_package.cmake)
get_filename_component(PIXELBRIDGE_MACOS_STUBS ${CMAKE_CURRENT_LIST_DIR}/../platform/macos ABSOLUTE)
file(MD5 ${CMAKE_CURRENT_LIST_FILE} PIXELBRIDGE_SDK_RECIPE)
string(APPEND PIXELBRIDGE_SDK_RECIPE " ${PIXELBRIDGE_ZIG_PACKAGE_INTEGRITY}")

function(pixelbridge_macos_sdk sdk)
  set(stamp ${sdk}/assembled-by)
  pixelbridge_made_by(${stamp} "${PIXELBRIDGE_SDK_RECIPE}" assembled)
  if(NOT assembled)
    file(REMOVE_RECURSE ${sdk})
    pixelbridge_zig_package(${sdk}-package package)
    set(zig ${package}/lib)
    # Later folders take precedence: the macOS 11 headers over the version-free ones, then each
    # architecture's own (they share no file but four identical ones).
    foreach(headers any-macos-any any-macos.11-any aarch64-macos.11-none x86_64-macos.11-none)
      file(COPY ${zig}/libc/include/${headers}/ DESTINATION ${sdk}/usr/include)
    endforeach()
    file(COPY ${zig}/libcxx/include/ ${zig}/libcxxabi/include/ DESTINATION ${sdk}/usr/include/c++/v1)
    configure_file(${zig}/libc/darwin/libSystem.11.tbd ${sdk}/usr/lib/libSystem.tbd COPYONLY)
    file(WRITE ${sdk}/SDKSettings.json
         "{\"CanonicalName\": \"macosx11.0\", \"Version\": \"11.0\", \"MaximumDeploymentTarget\": \"11.99\"}\n")
    # Written last: the folder is complete, and made by this recipe.
    file(WRITE ${stamp} ${PIXELBRIDGE_SDK_RECIPE})
  endif()
  set(stubs ${PIXELBRIDGE_MACOS_STUBS})
  configure_file(${stubs}/libc++.tbd ${sdk}/usr/lib/libc++.tbd COPYONLY)
  configure_file(${stubs}/CoreGraphics.tbd ${sdk}/System/Library/Frameworks/CoreGraphics.framework/CoreGraphics.tbd
                 COPYONLY)
endfunction()
