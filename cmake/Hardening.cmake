# What protects the program against its own mistakes. It is compiled into all of its code; a library that is linked in has
# what its Debian package gave it.
include(CheckLinkerFlag)

if(QDN_HARDENED)
    add_compile_options(
        -fPIE
        -fstack-protector-strong
        -fstack-clash-protection
        -ftrivial-auto-var-init=zero # a local variable that nobody set holds nothing of an earlier call
        -U_FORTIFY_SOURCE
        -D_FORTIFY_SOURCE=3
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=" # the program is the same wherever it is built
        -ffunction-sections -fdata-sections # what nobody calls is left out, which makes room for the checks
    )
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,separate-code)

    # A program that may lie anywhere has thousands of addresses to adjust at its start; this notes them in a few bytes.
    # Where the linker cannot, it only warns.
    check_linker_flag(CXX -Wl,--fatal-warnings,-z,pack-relative-relocs QDN_PACKS_RELOCATIONS)
    if(QDN_PACKS_RELOCATIONS)
        add_link_options(-Wl,-z,pack-relative-relocs)
    endif()
endif()
