; The quotients and remainders of "div" and "divw", and a product, of numbers given by -d.
        xref    put_word,put_byte
        xdef    main

main:   ldw     x,#DIVIDEND
        ld      a,#low(DIVISOR)
        div     x,a
        push    a
        call    put_word
        pop     a
        call    put_byte
        ldw     x,#DIVIDEND
        ldw     y,#DIVISOR
        divw    x,y
        call    put_word
        ldw     x,y
        call    put_word
        ldw     x,#low(DIVIDEND)
        ld      a,#low(DIVISOR)
        mul     x,a
        jp      put_word
