# The cross build takes the header-only libraries from this machine. Only their own folders are shown
# to the compiler: beside them in the include folder are the headers of another system.
set(CRONVEL_HOST_HEADERS ${PROJECT_BINARY_DIR}/host-headers)
foreach(library CLI nlohmann)
  find_path(CRONVEL_HOST_${library} ${library} PATHS /usr/local/include /usr/include
    NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(MAKE_DIRECTORY ${CRONVEL_HOST_HEADERS})
  file(CREATE_LINK ${CRONVEL_HOST_${library}}/${library} ${CRONVEL_HOST_HEADERS}/${library}
    SYMBOLIC)
endforeach()

foreach(target CLI11::CLI11 nlohmann_json::nlohmann_json)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${CRONVEL_HOST_HEADERS})
endforeach()
