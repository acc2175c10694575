# Shell completions, printed by the command itself.

set(completions)
foreach(place
    bash:bash-completion/completions:tagwriter
    zsh:zsh/site-functions:_tagwriter
    fish:fish/vendor_completions.d:tagwriter.fish)
  string(REPLACE ":" ";" place ${place})
  list(GET place 0 shell)
  list(GET place 1 directory)
  list(GET place 2 name)
  set(made ${CMAKE_CURRENT_BINARY_DIR}/completions/${shell}/${name})
  add_custom_command(OUTPUT ${made}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/completions/${shell}
    COMMAND tagwriter completion ${shell} > ${made}
    DEPENDS tagwriter VERBATIM)
  list(APPEND completions ${made})
  install(FILES ${made} DESTINATION ${CMAKE_INSTALL_DATADIR}/${directory})
endforeach()
add_custom_target(completions ALL DEPENDS ${completions})
