# Answers find_package with what scripts/windows-libraries has built.
set(folder ${TARNIS_WINDOWS_LIBRARIES})
if(NOT EXISTS ${folder}/built-of)
  message(FATAL_ERROR "the libraries for Windows are missing: run scripts/bootstrap --windows")
endif()

# tarnis_windows_package(TARGET [ARCHIVE [LINKED...]])
function(tarnis_windows_package target)
  if(ARGC EQUAL 1)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
  else()
    add_library(${target} STATIC IMPORTED GLOBAL)
    set_target_properties(
      ${target} PROPERTIES IMPORTED_LOCATION ${TARNIS_WINDOWS_LIBRARIES}/lib/lib${ARGV1}.a
                           INTERFACE_LINK_LIBRARIES "${ARGV2}")
  endif()
  set_target_properties(
    ${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${TARNIS_WINDOWS_LIBRARIES}/include
                         INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${TARNIS_WINDOWS_LIBRARIES}/include)
endfunction()

macro(tarnis_windows_packages method package)
  if("${package}" MATCHES "^(Boost|CLI11|GTest|SQLite3|nlohmann_json)$")
    if(NOT TARGET Boost::headers)
      tarnis_windows_package(Boost::headers)
      tarnis_windows_package(Boost::filesystem boost_filesystem)
      tarnis_windows_package(Boost::thread boost_thread)
      tarnis_windows_package(SQLite::SQLite3 sqlite3)
      tarnis_windows_package(CLI11::CLI11)
      tarnis_windows_package(nlohmann_json::nlohmann_json)
      tarnis_windows_package(GTest::gtest gtest)
      tarnis_windows_package(GTest::gtest_main gtest_main GTest::gtest)
      target_compile_definitions(Boost::thread INTERFACE BOOST_THREAD_USE_LIB)
    endif()
    set(${package}_FOUND TRUE)
  endif()
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER tarnis_windows_packages SUPPORTED_METHODS FIND_PACKAGE)
