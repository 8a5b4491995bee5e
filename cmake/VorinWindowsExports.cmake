# What a Windows build exports, from the one table of exports.
#
# Hosts of 32 bit load Vorin_s by its plain name or as _Vorin_s@24, the number being the bytes of
# its arguments; both names lead to one address. So do both in the library of 64 bit, where the
# compiler decorates nothing. `linkage` of the table is that of 32 bit: a __stdcall function is the
# symbol NAME@BYTES there, which is what the plain name must lead to.
#
#   vorin_windows_definitions(TABLE LIBRARY EXPORTS IMPORTS)
#     writes two module-definition files: EXPORTS, what the linker exports from LIBRARY, and
#     IMPORTS, from which an import library is made: the symbols that a host's compiler asks for
function(vorin_windows_definitions table library exports imports)
  set(_exports "LIBRARY ${library}\nEXPORTS\n")
  set(_imports "LIBRARY ${library}\nEXPORTS\n")
  file(STRINGS "${table}" _rows REGEX "^[A-Za-z]")
  foreach(_row IN LISTS _rows)
    if(NOT _row MATCHES "^([A-Za-z0-9_]+) +([0-9]+) +(stdcall|cdecl) +(yes|no)$")
      message(FATAL_ERROR "${table}: a row is name, bytes, linkage, decorated: ${_row}")
    endif()
    set(_name ${CMAKE_MATCH_1})
    set(_decorated "_${CMAKE_MATCH_1}@${CMAKE_MATCH_2}")
    set(_symbol ${_name})
    if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_MATCH_3 STREQUAL "stdcall")
      set(_symbol "${_name}@${CMAKE_MATCH_2}")
    endif()
    if(CMAKE_MATCH_4 STREQUAL "yes")
      string(APPEND _exports "  ${_decorated} = ${_symbol}\n")
    endif()
    string(APPEND _exports "  ${_name} = ${_symbol}\n")
    string(APPEND _imports "  ${_symbol}\n")
  endforeach()
  file(CONFIGURE OUTPUT "${exports}" CONTENT "${_exports}" @ONLY)
  file(CONFIGURE OUTPUT "${imports}" CONTENT "${_imports}" @ONLY)
endfunction()

# vorin_import_libraries(TARGET DEFINITION): import libraries of TARGET for MinGW (libNAME.dll.a)
# and for Microsoft's linker (NAME.lib), from a definition of its symbols. On 32 bit the symbol
# NAME@BYTES asks the library for the plain NAME (dlltool -k).
function(vorin_import_libraries target definition)
  find_program(VORIN_DLLTOOL NAMES ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-dlltool dlltool REQUIRED)
  find_program(VORIN_LLVM_DLLTOOL NAMES llvm-dlltool llvm-dlltool-14 PATHS /usr/lib/llvm-14/bin)
  get_target_property(_name ${target} OUTPUT_NAME)
  set(_folder "${PROJECT_BINARY_DIR}/lib")
  set(_kill "")
  set(_machine i386:x86-64)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(_kill -k)
    set(_machine i386)
  endif()
  file(MAKE_DIRECTORY "${_folder}")
  add_custom_command(OUTPUT "${_folder}/lib${target}.dll.a"
    COMMAND "${VORIN_DLLTOOL}" ${_kill} -m ${_machine} -D ${target}.dll -d "${definition}"
      -l "${_folder}/lib${target}.dll.a"
    DEPENDS "${definition}" VERBATIM)
  add_custom_command(OUTPUT "${_folder}/${target}.lib"
    COMMAND "${VORIN_LLVM_DLLTOOL}" ${_kill} -m ${_machine} -D ${target}.dll -d "${definition}"
      -l "${_folder}/${target}.lib"
    DEPENDS "${definition}" VERBATIM)
  add_custom_target(${target}_import_libraries ALL
    DEPENDS "${_folder}/lib${target}.dll.a" "${_folder}/${target}.lib")
endfunction()
