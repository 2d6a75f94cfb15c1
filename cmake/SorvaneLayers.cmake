# The framework is built as a stack of layers, each a static library of its
# own, linked in layer order; libsorvane is their union.
#
# A layer sees only its own headers and those of the layers below it: each
# layer's headers are staged, as links, under a folder of its own in the build
# tree, and a target's include path holds the staged folders of its layer and
# of the layers it links. So an include that reaches up a layer does not
# build. The staged folders keep the source folders' names, so code includes
# <util/pstring.h> whichever layer it is in; a source folder may hold units of
# two layers.

set(SORVANE_LAYERS "" CACHE INTERNAL "The framework's layers, lowest first")
set(SORVANE_LAYER_MAP "" CACHE INTERNAL "folder/unit=layer for every framework unit")
set(SORVANE_LAYER_LINKS "" CACHE INTERNAL "The system libraries the layers use")

# Links each header under <stage>/<folder>/, keeping its name. The folder is
# made anew, so a unit renamed or removed leaves no stale header behind.
function(sorvane_stage_headers stage folder)
    file(REMOVE_RECURSE ${stage}/${folder})
    file(MAKE_DIRECTORY ${stage}/${folder})
    foreach(header IN LISTS ARGN)
        get_filename_component(file ${header} NAME)
        file(MAKE_DIRECTORY ${stage}/${folder})
        file(CREATE_LINK ${header} ${stage}/${folder}/${file} SYMBOLIC)
    endforeach()
endfunction()

# sorvane_layer(<target> FOLDER <src folder> UNITS <unit>... [BELOW <layer>...]
#               [PRIVATE_LINK <library>...])
# A unit is <folder>/<unit>.h and, when there is one, <folder>/<unit>.cpp.
function(sorvane_layer name)
    cmake_parse_arguments(PARSE_ARGV 1 L "" "FOLDER" "UNITS;BELOW;PRIVATE_LINK")
    set(stage ${PROJECT_BINARY_DIR}/layers/${name})
    set(sources "")
    set(headers "")
    set(map ${SORVANE_LAYER_MAP})
    foreach(unit IN LISTS L_UNITS)
        set(base ${PROJECT_SOURCE_DIR}/src/${L_FOLDER}/${unit})
        if(NOT EXISTS ${base}.h AND NOT EXISTS ${base}.cpp)
            message(FATAL_ERROR "Layer ${name}: no unit ${L_FOLDER}/${unit}")
        endif()
        if(EXISTS ${base}.h)
            list(APPEND headers ${base}.h)
        endif()
        if(EXISTS ${base}.cpp)
            list(APPEND sources ${base}.cpp)
        endif()
        list(APPEND map "${L_FOLDER}/${unit}=${name}")
    endforeach()
    set(SORVANE_LAYER_MAP ${map} CACHE INTERNAL "")
    set_property(GLOBAL PROPERTY SORVANE_UNITS_${name} ${L_UNITS})
    sorvane_stage_headers(${stage} ${L_FOLDER} ${headers})

    add_library(${name} STATIC ${sources} ${headers})
    set_target_properties(${name} PROPERTIES
        POSITION_INDEPENDENT_CODE ON
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    # Nobody replaces the library's own functions at load time: its calls to
    # them bind within it, may be inlined and need no PLT.
    target_compile_options(${name} PRIVATE -fno-semantic-interposition)
    target_compile_definitions(${name} PRIVATE SORVANE_BUILDING)
    target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${stage}>)
    target_link_libraries(${name} PUBLIC ${L_BELOW} Threads::Threads PRIVATE ${L_PRIVATE_LINK})

    install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/sorvane/${L_FOLDER})
    set(links ${SORVANE_LAYER_LINKS} ${L_PRIVATE_LINK})
    list(REMOVE_DUPLICATES links)
    set(SORVANE_LAYER_LINKS ${links} CACHE INTERNAL "")
    set(layers ${SORVANE_LAYERS})
    list(APPEND layers ${name})
    set(SORVANE_LAYERS ${layers} CACHE INTERNAL "")
endfunction()
