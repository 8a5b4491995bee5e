# The header-only packages in a cross build. Debian has them in /usr/include, among the headers of
# the building machine's own C library, which the other machine's compiler must not see: a folder of
# the build tree holds links to those that we use.
#
#   vorin_header_package(TARGET FOLDER)   an imported target TARGET whose headers are included
#                                         as <FOLDER/...>

function(vorin_header_package target folder)
  set(_headers "${PROJECT_BINARY_DIR}/headers/${folder}")
  if(NOT EXISTS "/usr/include/${folder}")
    message(FATAL_ERROR "/usr/include/${folder} is missing: run script/bootstrap")
  endif()
  file(MAKE_DIRECTORY "${_headers}")
  file(CREATE_LINK "/usr/include/${folder}" "${_headers}/${folder}" SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${_headers}")
endfunction()

vorin_header_package(fmt::fmt fmt)
vorin_header_package(nlohmann_json::nlohmann_json nlohmann)
vorin_header_package(CLI11::CLI11 CLI)

# What is not asked of a program that is emulated, or run by Wine, and why.
if(WIN32)
  set(VORIN_NOT_EMULATED
    Completion.Bash*          # asks a shell of POSIX
    BadFile.EndlessDevice     # /dev/null is a device here
    */*InNoFolder             # /dev/null is a file here
    InvertJson.AFileNameNeedNotBeUtf8  # names of files are Unicode there
    NoText/BadFiles.*/Workbook         # refused as a kind of file, not as a damaged one
    # There is no gnuplot under Wine.
    Picture.* TogetherPicture.* LCurvePicture.* PdfReport.* ReportFile.* Show.*Draw*
    Show/*/NothingToDraw Invert.*Draw* MethodOptions.*Draw*
    Manual.ItsExamplesRunOneAfterTheOther)
else()
  set(VORIN_NOT_EMULATED
    MemoryLimit.*  # the emulator takes no limit of the address space from the program that it runs
    # Without packed files and maps: refused as kinds of files, and the manual page tells of maps.
    NoText/BadFiles.*/GzipCutOff NoText/BadFiles.*/Workbook
    Manual.IsThatOfTheProgram Manual.IsWrittenWholeOrNotAtAll)
endif()
string(JOIN ":" VORIN_NOT_EMULATED ${VORIN_NOT_EMULATED})
# For script/windows, which starts the programs itself.
file(WRITE "${PROJECT_BINARY_DIR}/not_emulated.txt" "${VORIN_NOT_EMULATED}\n")

# GoogleTest is compiled from the sources that its package brings.
macro(vorin_cross_googletest)
  add_library(vorin_gtest STATIC EXCLUDE_FROM_ALL
    /usr/src/googletest/googletest/src/gtest-all.cc
    /usr/src/googletest/googletest/src/gtest_main.cc)
  target_include_directories(vorin_gtest SYSTEM
    PUBLIC "$<BUILD_INTERFACE:/usr/src/googletest/googletest/include>"
    PRIVATE /usr/src/googletest/googletest)
  add_library(GTest::gtest ALIAS vorin_gtest)
  add_library(GTest::gtest_main ALIAS vorin_gtest)
endmacro()
