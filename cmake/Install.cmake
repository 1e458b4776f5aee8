include(CMakePackageConfigHelpers)

install(TARGETS tunivoxplayer EXPORT TunivoxPlayerTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tunivox)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tunivox
  FILES_MATCHING PATTERN "*.h"
  PATTERN "TagLibText.h" EXCLUDE PATTERN "ReadOnlyTagFile.h" EXCLUDE PATTERN "AudioStream.h" EXCLUDE PATTERN "MprisAdaptors.h" EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/src/tunivox_export.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tunivox)

install(EXPORT TunivoxPlayerTargets
  NAMESPACE TunivoxPlayer::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TunivoxPlayer)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/TunivoxPlayerConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TunivoxPlayerConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TunivoxPlayer)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TunivoxPlayerConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/TunivoxPlayerConfig.cmake
  ${PROJECT_BINARY_DIR}/TunivoxPlayerConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/TunivoxPlayer)

# The .pc file finds its prefix relative to itself, so an installed tree can be moved.
file(RELATIVE_PATH TUNIVOX_PC_PREFIX_FROM_PCDIR
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/tunivoxplayer.pc.in
  ${PROJECT_BINARY_DIR}/tunivoxplayer.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tunivoxplayer.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
