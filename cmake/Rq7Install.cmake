# Install layout and the Debian package.
#
# Executables go to bin; they carry our own libraries and the C++ runtime
# linked in, so an installed tree works wherever it is unpacked and never
# reaches back into the build folder.
include(GNUInstallDirs)

set(RQ7_DOCDIR "${CMAKE_INSTALL_DATADIR}/doc/rq7-config")

function(rq7_install)
  install(TARGETS rq7.config gta-sim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(TARGET rq7)
    install(TARGETS rq7 RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
  # Man pages, compressed without a time stamp so the package is reproducible.
  set(man_src ${PROJECT_SOURCE_DIR}/docs/man)
  set(man_pages rq7.config.1 gta-sim.1 rq7-config.xml.5)
  if(TARGET rq7)
    list(APPEND man_pages rq7.1)
  endif()
  set(man_gz)
  foreach(page ${man_pages})
    set(out ${PROJECT_BINARY_DIR}/man/${page}.gz)
    add_custom_command(OUTPUT ${out}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
      COMMAND gzip -9 -n -c ${man_src}/${page} > ${out}
      DEPENDS ${man_src}/${page} VERBATIM)
    list(APPEND man_gz ${out})
    string(REGEX REPLACE ".*\\.([0-9])$" "\\1" section ${page})
    install(FILES ${out} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
  endforeach()
  add_custom_target(rq7_man ALL DEPENDS ${man_gz})

  # One completion script serves every command; bash-completion loads it by
  # the command's name.
  set(completion_cmds rq7.config gta-sim)
  if(TARGET rq7)
    list(APPEND completion_cmds rq7)
  endif()
  foreach(cmd ${completion_cmds})
    install(FILES ${PROJECT_SOURCE_DIR}/dist/bash-completion/rq7
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            RENAME ${cmd})
  endforeach()

  install(FILES ${PROJECT_SOURCE_DIR}/examples/README.md
                ${PROJECT_SOURCE_DIR}/examples/ka7710x_logger.xml
                ${PROJECT_SOURCE_DIR}/examples/ka7710x_gta.xml
                ${PROJECT_SOURCE_DIR}/examples/minimal_logger.xml
                ${PROJECT_SOURCE_DIR}/tools/gta-sim/ka7710x.image
          DESTINATION ${RQ7_DOCDIR}/examples)
  install(FILES ${PROJECT_SOURCE_DIR}/dist/debian/copyright DESTINATION ${RQ7_DOCDIR})
  set(changelog ${PROJECT_BINARY_DIR}/changelog.gz)
  add_custom_command(OUTPUT ${changelog}
    COMMAND gzip -9 -n -c ${PROJECT_SOURCE_DIR}/dist/debian/changelog > ${changelog}
    DEPENDS ${PROJECT_SOURCE_DIR}/dist/debian/changelog VERBATIM)
  add_custom_target(rq7_changelog ALL DEPENDS ${changelog})
  install(FILES ${changelog} DESTINATION ${RQ7_DOCDIR})

  # The Debian package: cmake --build build --target package.
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME rq7-config)
  set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
  set(CPACK_PACKAGE_CONTACT "rq7.config maintainers <maintainers@users.noreply.c-seed-1192860d.example>")
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "trace hardware set-up for systems-on-chip")
  set(CPACK_PACKAGE_DESCRIPTION
"rq7.config reads one XML configuration file, connects to the target (a
dry-run Logger that prints every register access, or a debug server over
the GDB remote serial framing) and programs the trace hardware: ETMv4 core
trace units, STM, NoC probes and observers, funnels and trace memory
controllers.

The package also holds gta-sim, a debug server for runs without hardware,
and, when built, the rq7 companion command.")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION devel)
  set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # Loaded by name on first need (schema patterns beyond the simple ones), so
  # dpkg-shlibdeps cannot see it.
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libxml2 (>= 2.9)")
  if(TARGET rq7)
    # rq7 graph draws through Graphviz; snapshots are read by OpenCSD's lister.
    set(CPACK_DEBIAN_PACKAGE_SUGGESTS "graphviz, libopencsd-bin")
  endif()
  set(CPACK_STRIP_FILES ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_INSTALL_PREFIX /usr)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
  include(CPack)
endfunction()
