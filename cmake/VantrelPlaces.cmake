# Where the installed programs stand, and those that a launcher gives their capability.
include(GNUInstallDirs)
set(VANTREL_INSTALLED_DIR ${CMAKE_INSTALL_FULL_LIBEXECDIR}/vantrel)
set(VANTREL_INSTALLED_PROGRAM ${VANTREL_INSTALLED_DIR}/vantrel)
set(VANTREL_INSTALLED_COMMAND ${CMAKE_INSTALL_FULL_BINDIR}/vantrel)

# vantrel_launched(<program>): installs the program out of the users' way, <program>-launch beside it, which executes it
# at that fixed place with the permission to capture, and a script of the program's name as the users' command. Each
# launcher knows one program. The program gives the capability up first thing (app/privileges/).
function(vantrel_launched program)
  set(sources ${PROJECT_SOURCE_DIR}/app/launcher)
  set(launcher ${program}-launch)
  # On nothing of the rooms: what runs with a file capability is small enough to be read whole.
  add_executable(${launcher} ${sources}/Launcher.cpp ${sources}/Environment.cpp)
  target_link_libraries(${launcher} PRIVATE vantrel_flags)
  target_link_options(${launcher} PRIVATE LINKER:--as-needed)
  target_compile_definitions(${launcher} PRIVATE 
    VANTREL_LAUNCHER="${launcher}" VANTREL_PROGRAM="${VANTREL_INSTALLED_DIR}/${program}")
  set_target_properties(${launcher} PROPERTIES AUTOMOC OFF AUTOUIC OFF AUTORCC OFF
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  configure_file(${sources}/command.in ${CMAKE_BINARY_DIR}/commands/${program} @ONLY)
  install(TARGETS ${program} ${launcher} RUNTIME DESTINATION ${VANTREL_INSTALLED_DIR})
  install(PROGRAMS ${CMAKE_BINARY_DIR}/commands/${program} DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()
