# kallo_component(NAME [USES OTHER_COMPONENTS_OR_LIBRARIES...] [EXCEPT SOURCES...])
# One static library a component: every source file of its folder and of the folders in it (but
# those under EXCEPT, which make programs). Its headers are included as "component/header.h". A
# component sees, besides its own folder, just the folders of the components that it names under
# USES, not of those that these use in turn: a forbidden include does not compile.
function(kallo_component NAME)
    cmake_parse_arguments(COMPONENT "" "" "USES;EXCEPT" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
    foreach(program ${COMPONENT_EXCEPT})
        list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${program})
    endforeach()
    set(view ${CMAKE_BINARY_DIR}/components/${NAME})
    file(MAKE_DIRECTORY ${view})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${NAME} SYMBOLIC)
    add_library(kallo_${NAME} STATIC ${sources})
    target_include_directories(kallo_${NAME} PUBLIC ${view})
    target_compile_options(kallo_${NAME} PUBLIC $<$<CONFIG:Release>:-fdebug-prefix-map=${view}/=>)
    target_link_libraries(kallo_${NAME} PRIVATE ${COMPONENT_USES})
endfunction()
