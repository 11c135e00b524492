# One room of the house: a static library whose public headers stand in <room>/include/<room>/ and are reachable
# only through this target; whatever else stands beside the sources is private to the room.

add_library(vantrel_flags INTERFACE)
target_compile_options(vantrel_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
target_compile_definitions(vantrel_flags INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CONTEXTLESS_CONNECT VANTREL_VERSION="${PROJECT_VERSION}")
if(VANTREL_SANITIZE)
  target_compile_options(vantrel_flags INTERFACE
    -fsanitize=${VANTREL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(vantrel_flags INTERFACE -fsanitize=${VANTREL_SANITIZE})
endif()
if(VANTREL_COVERAGE)
  add_library(vantrel_coverage STATIC cmake/CoverageOfChildren.cpp)
  # Threads count at the same time, and programs run in folders of their own.
  target_compile_options(vantrel_flags INTERFACE
    -fprofile-arcs -ftest-coverage -fprofile-update=atomic -fprofile-abs-path)
  target_link_libraries(vantrel_flags INTERFACE vantrel_coverage)
  target_link_options(vantrel_flags INTERFACE --coverage LINKER:--wrap=execve,--wrap=_exit)
endif()

# vantrel_room(<name> SOURCES <files…> [LINKS <public…>] [PRIVATE_LINKS <private…>])
function(vantrel_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  set(target vantrel_${name})
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS include/*.h)
  add_library(${target} STATIC ${ROOM_SOURCES} ${headers})
  add_library(vantrel::${name} ALIAS ${target})
  target_include_directories(${target} PUBLIC include PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${target} PUBLIC ${ROOM_LINKS} PRIVATE vantrel_flags ${ROOM_PRIVATE_LINKS})
endfunction()
