# talmo_qt: Qt Core and QRegExp, from Qt 6 (where QRegExp lives in Core5Compat) or from Qt 5.15.
set(TALMO_QT 6 CACHE STRING "Major version of Qt to build on: 6 or 5")
set_property(CACHE TALMO_QT PROPERTY STRINGS 6 5)

add_library(talmo_qt INTERFACE)
if(TALMO_QT EQUAL 6)
  find_package(Qt6 REQUIRED COMPONENTS Core Core5Compat)
  target_link_libraries(talmo_qt INTERFACE Qt6::Core Qt6::Core5Compat)
elseif(TALMO_QT EQUAL 5)
  find_package(Qt5 5.15 REQUIRED COMPONENTS Core)
  target_link_libraries(talmo_qt INTERFACE Qt5::Core)
else()
  message(FATAL_ERROR "TALMO_QT is '${TALMO_QT}'; it must be 6 or 5")
endif()
