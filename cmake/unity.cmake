# Sources compiled a dozen at a time read what they include once, and the compiler makes what templates
# need once: a whole build takes half the time, a change of one source a little longer. So the
# presets that build everything do it, and the one for the work in between (dev) does not.
# Sources with options of their own stay by themselves. Names hidden in one source have to differ from
# those in another of its library: the compiler says where they don't.
set(UNITY_SOURCES 12)
function(compile_together)
    foreach(target ${ARGN})
        set_target_properties(${target} PROPERTIES
            UNITY_BUILD ${VELMARK_UNITY} UNITY_BUILD_BATCH_SIZE ${UNITY_SOURCES})
    endforeach()
endfunction()
