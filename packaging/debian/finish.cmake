# Runs in cpack on the files of the packages: changes that only Debian packages need.

foreach(component ${CPACK_COMPONENTS_ALL})
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component})
  string(TOUPPER ${component} prefix)
  set(documents ${root}/usr/share/doc/${CPACK_DEBIAN_${prefix}_PACKAGE_NAME})
  file(COPY ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/copyright DESTINATION ${documents})
  file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/changelog ${documents}/changelog)

  file(GLOB_RECURSE pages ${root}/usr/share/man/*.[1-8])
  # -n: no timestamp, for reproducible packages.
  execute_process(COMMAND gzip -9n ${pages} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)
endforeach()

# Debian's zsh looks here.
set(programs ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/programs/usr/share)
file(RENAME ${programs}/zsh/site-functions ${programs}/zsh/vendor-completions)

set(overrides ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/library/usr/share/lintian/overrides)
file(MAKE_DIRECTORY ${overrides})
file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/lintian-overrides ${overrides}/libtagwriter0)

# Regardless of the builder's umask.
execute_process(COMMAND find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -type d -exec chmod 755 {} +
                COMMAND_ERROR_IS_FATAL ANY)
