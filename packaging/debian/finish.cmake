# Runs in cpack on the package's files: changes that only Debian packages need.

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(documents ${root}/usr/share/doc/tagwriter)

file(COPY ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/copyright DESTINATION ${documents})
file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/changelog ${documents}/changelog)
file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_DIRECTORY}/lintian-overrides
               ${root}/usr/share/lintian/overrides/tagwriter)

file(GLOB_RECURSE pages ${root}/usr/share/man/*.[1-8])
# -n: no timestamp, for reproducible packages.
execute_process(COMMAND gzip -9n ${pages} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

# Debian's zsh looks here.
file(RENAME ${root}/usr/share/zsh/site-functions ${root}/usr/share/zsh/vendor-completions)

# Regardless of the builder's umask.
file(CHMOD_RECURSE ${root}/usr DIRECTORY_PERMISSIONS
     OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
