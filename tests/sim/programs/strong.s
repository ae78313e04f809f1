; The "greet" that wins over that of weak.s.
        xref    put_char
        xdef    greet
greet:  ld      a,#'s'
        jp      put_char
