# What ships is built as Debian builds its own programs: guarded stacks and string functions, and all
# symbols bound at the start, after which their table is read-only. The manager reads whatever a
# network sends, with a right that its user does not have. Tests and benchmarks stay as they are;
# the sanitizers bring guards of their own.
if(NOT VELMARK_SANITIZE)
    foreach(target rules services widgets window simulator_core velmark-network-manager loudspeaker-simulator)
        target_compile_options(${target} PRIVATE
            -fstack-protector-strong -fstack-clash-protection
            $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    endforeach()
    foreach(program velmark-network-manager loudspeaker-simulator)
        target_link_options(${program} PRIVATE -Wl,-z,relro -Wl,-z,now)
    endforeach()
endif()
