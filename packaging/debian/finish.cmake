# Runs in cpack, on the files of the package: what Debian wants and other installations do not.

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(documents ${root}/usr/share/doc/tagwriter)

file(COPY ${CPACK_TAGWRITER_DEBIAN_FOLDER}/copyright DESTINATION ${documents})
file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_FOLDER}/changelog ${documents}/changelog)
file(MAKE_DIRECTORY ${root}/usr/share/lintian/overrides)
file(COPY_FILE ${CPACK_TAGWRITER_DEBIAN_FOLDER}/lintian-overrides
               ${root}/usr/share/lintian/overrides/tagwriter)

file(GLOB_RECURSE pages ${root}/usr/share/man/*.[1-8])
# -n: no time, so that the same sources make the same package.
execute_process(COMMAND gzip -9n ${pages} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

# Where Debian's zsh looks.
file(RENAME ${root}/usr/share/zsh/site-functions ${root}/usr/share/zsh/vendor-completions)
