# The JSON writer's output checked by an independent parser: Python's json module.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_Interpreter_FOUND)
  add_executable(kvxml_json_python_check ${CMAKE_CURRENT_LIST_DIR}/python/JsonPythonCheck.cpp
                                         ${CMAKE_CURRENT_LIST_DIR}/JsonSamples.cpp)
  target_include_directories(kvxml_json_python_check PRIVATE ${CMAKE_CURRENT_LIST_DIR}/..)
  target_link_libraries(kvxml_json_python_check PRIVATE kvxml16_static)
  add_test(NAME json_python COMMAND kvxml_json_python_check ${Python3_EXECUTABLE})
else()
  message(WARNING "python3 not found: the check of the JSON output by Python's json module is left out")
endif()
