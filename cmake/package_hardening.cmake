# What ships is built as Debian builds its own programs: guarded stacks and string functions, and all
# symbols bound at the start, after which their table is read-only. The manager reads whatever a
# network sends, with a right that its user does not have. Benchmarks are built the same way, to
# measure what ships; tests stay as they are; the sanitizers bring guards of their own.
add_library(velmark_hardening INTERFACE)
if(NOT VELMARK_SANITIZE)
    target_compile_options(velmark_hardening INTERFACE
        -fstack-protector-strong -fstack-clash-protection
        $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
function(harden_program program)
    target_link_libraries(${program} PRIVATE velmark_hardening)
    if(NOT VELMARK_SANITIZE)
        target_link_options(${program} PRIVATE -Wl,-z,relro -Wl,-z,now)
    endif()
endfunction()
