# n4_source_folders(<root> <out-var> [EXCLUDE name...]): the folders directly
# below <root> that hold .cpp files. Tests, benchmarks and fuzz targets each
# build one program per such folder, so a new folder needs no CMake edit.
function(n4_source_folders root out)
  cmake_parse_arguments(ARG "" "" "EXCLUDE" ${ARGN})
  file(GLOB entries LIST_DIRECTORIES true CONFIGURE_DEPENDS ${root}/*)
  set(folders "")
  foreach(dir ${entries})
    get_filename_component(name ${dir} NAME)
    if(NOT IS_DIRECTORY ${dir} OR name IN_LIST ARG_EXCLUDE)
      continue()
    endif()
    file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp)
    if(sources)
      list(APPEND folders ${name})
    endif()
  endforeach()
  set(${out} ${folders} PARENT_SCOPE)
endfunction()
