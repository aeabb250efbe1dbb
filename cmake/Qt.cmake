# talmo_qt: Qt Core, from Qt 6 or from Qt 5.15.
# talmo_qregexp: the class QRegExp. Qt 6 has it in Core5Compat, Qt 5 in Core. No public header needs it, so
# whoever includes <QRegExp> links it: privately, or the programs that use the library would need it too.
set(TALMO_QT 6 CACHE STRING "Major version of Qt to build on: 6 or 5")
set_property(CACHE TALMO_QT PROPERTY STRINGS 6 5)

add_library(talmo_qt INTERFACE)
add_library(talmo_qregexp INTERFACE)
if(TALMO_QT EQUAL 6)
  find_package(Qt6 REQUIRED COMPONENTS Core Core5Compat)
  target_link_libraries(talmo_qt INTERFACE Qt6::Core)
  target_link_libraries(talmo_qregexp INTERFACE Qt6::Core5Compat)
elseif(TALMO_QT EQUAL 5)
  find_package(Qt5 5.15 REQUIRED COMPONENTS Core)
  target_link_libraries(talmo_qt INTERFACE Qt5::Core)
  target_link_libraries(talmo_qregexp INTERFACE Qt5::Core)
else()
  message(FATAL_ERROR "TALMO_QT is '${TALMO_QT}'; it must be 6 or 5")
endif()
