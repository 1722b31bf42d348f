add_compile_options(-Wall -Wextra -Wpedantic -Wformat=2 -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 warns of overlaps inside std::string and of values of empty std::optionals that cannot be.
  add_compile_options(-Wno-restrict -Wno-maybe-uninitialized)
endif()
if(AP_RUN_WERROR)
  add_compile_options(-Werror)
endif()
if(AP_RUN_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  # What clang builds also counts the edges that run, for the fuzz targets of tests/fuzz.
  add_compile_options("$<$<CXX_COMPILER_ID:Clang>:-fsanitize=fuzzer-no-link;-O1>")
else()
  add_compile_options(-fstack-protector-strong -ffunction-sections -fdata-sections)
  add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
  # Debug symbols, for a package of their own. Nothing in them tells the folder of the build.
  add_compile_options($<$<CONFIG:Release>:-g>
                      $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
                      $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=./build/release>)
  add_link_options(-Wl,--gc-sections -Wl,-z,relro -Wl,-z,now)
endif()
if(AP_RUN_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
