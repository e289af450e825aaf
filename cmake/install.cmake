# Installation, CMake package, pkg-config files and the Debian package.
include(CMakePackageConfigHelpers)

install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

# The pkg-config files find the tree from where they lie: it may be moved.
file(RELATIVE_PATH pkgconfig_to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})

# One package per library, so that sarko can be used alone.
foreach(library sarko sarvo)
  install(TARGETS ${library}_shared ${library}_static EXPORT ${library}Targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT ${library}Targets NAMESPACE ${library}:: FILE ${library}Targets.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/${library})
  configure_package_config_file(cmake/${library}Config.cmake.in ${library}Config.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/${library})
  write_basic_package_version_file(${library}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/${library}Config.cmake ${PROJECT_BINARY_DIR}/${library}ConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/${library})
  configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

if(TARGET sarvo)
  install(TARGETS sarvo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(TARGET sarvo_manual)
    set(written ${PROJECT_BINARY_DIR}/tools/sarvo/written)
    install(DIRECTORY ${written}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${written}/bash/sarvo DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${written}/zsh/_sarvo DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    install(FILES ${written}/fish/sarvo.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  endif()
endif()
if(APPLE)
  set_target_properties(sarvo_shared PROPERTIES INSTALL_RPATH @loader_path)
endif()

set(CPACK_PACKAGE_NAME libsarvo)
set(CPACK_PACKAGE_CONTACT "The libsarvo developers <libsarvo@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_STRIP_FILES ON)
include(CPack)
