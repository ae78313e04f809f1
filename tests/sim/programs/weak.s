; A library's weak "greet" and what it needs, unless the program has its own.
        wdef    greet
        xref    put_char
        xdef    main
main:   call    greet
        ld      a,#'.'
        jp      put_char
greet:  ld      a,#'w'
        jp      put_char
