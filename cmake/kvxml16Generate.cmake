# kvxml_generate(TARGET SCHEMAS a.xsd... [CPP_NAMESPACES URI=NAME...] [SCHEMA_PATH dir...] [OUTPUT_DIR dir])
#
# Runs the schema compiler kvxmlc at build time and adds the generated sources to TARGET, with their
# directory on its include path. List every schema file of the set, also those reached through
# xs:include or xs:import: each yields a header and a source named after it. A change to any schema
# that the compiler read regenerates the classes.
function(kvxml_generate target)
  cmake_parse_arguments(KVG "" "OUTPUT_DIR" "SCHEMAS;CPP_NAMESPACES;SCHEMA_PATH" ${ARGN})
  if(NOT KVG_SCHEMAS)
    message(FATAL_ERROR "kvxml_generate(${target}): no SCHEMAS given")
  endif()
  if(TARGET kvxml16::kvxmlc)
    set(compiler kvxml16::kvxmlc)
  elseif(TARGET kvxmlc)
    set(compiler kvxmlc)
  else()
    message(FATAL_ERROR "kvxml_generate(${target}): the schema compiler kvxmlc is not available")
  endif()
  if(NOT KVG_OUTPUT_DIR)
    set(KVG_OUTPUT_DIR ${CMAKE_CURRENT_BINARY_DIR}/kvxml_generated/${target})
  endif()

  set(outputs ${KVG_OUTPUT_DIR}/KvGeneratedSupport.h)
  set(sources)
  set(schemas)
  foreach(schema IN LISTS KVG_SCHEMAS)
    get_filename_component(path ${schema} ABSOLUTE)
    get_filename_component(stem ${schema} NAME_WLE)
    list(APPEND schemas ${path})
    list(APPEND outputs ${KVG_OUTPUT_DIR}/${stem}.h ${KVG_OUTPUT_DIR}/${stem}.cpp)
    list(APPEND sources ${KVG_OUTPUT_DIR}/${stem}.cpp)
  endforeach()
  set(options)
  foreach(mapping IN LISTS KVG_CPP_NAMESPACES)
    list(APPEND options --cpp-namespace ${mapping})
  endforeach()
  foreach(dir IN LISTS KVG_SCHEMA_PATH)
    get_filename_component(dir ${dir} ABSOLUTE)
    list(APPEND options --schema-path ${dir})
  endforeach()

  set(depfile ${CMAKE_CURRENT_BINARY_DIR}/kvxml_generated/${target}.d)
  set(depfile_args)
  if(CMAKE_GENERATOR MATCHES "Ninja|Makefiles")
    set(depfile_args DEPFILE ${depfile})
    list(APPEND options --depfile ${depfile})
  endif()
  add_custom_command(OUTPUT ${outputs}
    COMMAND ${compiler} ${options} ${schemas} --out ${KVG_OUTPUT_DIR}
    DEPENDS ${schemas} ${compiler}
    ${depfile_args}
    COMMENT "kvxmlc: classes of ${target}"
    VERBATIM)
  target_sources(${target} PRIVATE ${sources})
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${KVG_OUTPUT_DIR}>)
endfunction()
