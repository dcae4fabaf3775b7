# The headers of ONNX Runtime. Its library is opened at run time; a link to it stands beside the programs, in build/*/lib.

if(NOT TAVRIN_ONNXRUNTIME AND DEFINED ENV{TAVRIN_ONNXRUNTIME_HOME})
  set(TAVRIN_ONNXRUNTIME $ENV{TAVRIN_ONNXRUNTIME_HOME})
endif()
set(TAVRIN_ONNXRUNTIME "${TAVRIN_ONNXRUNTIME}" CACHE PATH "Folder with include/ and lib/ of ONNX Runtime")
if(NOT EXISTS ${TAVRIN_ONNXRUNTIME}/include/onnxruntime_cxx_api.h)
  message(FATAL_ERROR "ONNX Runtime is missing. './tavrin setup' fetches the pinned one; or give -DTAVRIN_ONNXRUNTIME=FOLDER.")
endif()
add_library(onnxruntime_headers INTERFACE)
target_include_directories(onnxruntime_headers SYSTEM INTERFACE ${TAVRIN_ONNXRUNTIME}/include)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
file(CREATE_LINK ${TAVRIN_ONNXRUNTIME}/lib/libonnxruntime.so ${CMAKE_BINARY_DIR}/lib/libonnxruntime.so SYMBOLIC)
