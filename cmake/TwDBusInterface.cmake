# tw_dbus_interface(<interface.xml> NAME <Name>
#                   SERVICE_CLASS <class> SERVICE_HEADER <header as included from src/>
#                   ADAPTOR_TARGET <library> PROXY_TARGET <library>)
#
# The interface description is the single source of a D-Bus interface: from it come the adaptor
# <Name>Adaptor (added to ADAPTOR_TARGET), which exports SERVICE_CLASS, and the client proxy <Name>Proxy
# (added to PROXY_TARGET). The adaptor calls the service's methods directly, so a method the service lacks
# or declares differently fails the build. Both land in the build tree beside the description's relative
# path: "control/Control1Adaptor.h", "control/Control1Proxy.h".
#
# The service is the adaptor's parent; it emits the interface's signals on the adaptor and serves the
# properties under the interface's names (Q_PROPERTY).
function(tw_dbus_interface xml)
    cmake_parse_arguments(ARG "" "NAME;SERVICE_CLASS;SERVICE_HEADER;ADAPTOR_TARGET;PROXY_TARGET" "" ${ARGN})
    foreach(required NAME SERVICE_CLASS SERVICE_HEADER ADAPTOR_TARGET PROXY_TARGET)
        if(NOT ARG_${required})
            message(FATAL_ERROR "tw_dbus_interface(${xml}): ${required} is missing")
        endif()
    endforeach()
    get_filename_component(xml ${xml} ABSOLUTE)

    set(adaptor_sources)
    qt_add_dbus_adaptor(adaptor_sources ${xml} ${ARG_SERVICE_HEADER} ${ARG_SERVICE_CLASS}
                        ${ARG_NAME}Adaptor ${ARG_NAME}Adaptor)
    target_sources(${ARG_ADAPTOR_TARGET} PRIVATE ${adaptor_sources})
    target_link_libraries(${ARG_ADAPTOR_TARGET} PUBLIC Qt6::DBus)

    set(proxy_sources)
    set_source_files_properties(${xml} PROPERTIES CLASSNAME ${ARG_NAME}Proxy NO_NAMESPACE ON)
    qt_add_dbus_interface(proxy_sources ${xml} ${ARG_NAME}Proxy)
    target_sources(${ARG_PROXY_TARGET} PRIVATE ${proxy_sources})
    target_link_libraries(${ARG_PROXY_TARGET} PUBLIC Qt6::DBus)
endfunction()
