; What lies in each kind of RAM section after start-up, and a routine that is copied to run there.
        xref    put_char,put_byte,__load_fast,__start_fast,__size_fast
        xdef    main

        switch  .data
text:   dc.b    "data "
text_end:
        switch  .bsct
short:  dc.b    "bsct "
short_end:
        switch  .bss
zeros:  ds.b    300
        switch  .ubsct
few:    ds.b    20

; Its home is RAM: the jump to "back" and the table are addresses there.
fast:   section code
in_ram: ldw     x,#in_ram
        cpw     x,#$800
        jruge   20$
        ld      a,yl
        jp      back
20$:    ld      a,#'?'
back:   call    put_char
        ret

        switch  .text
write:  macro   \from,\to
        ldw     y,#\from
next\@: ld      a,(y)
        call    put_char
        incw    y
        cpw     y,#\to
        jrne    next\@
        endm

sum:    macro   \from,\count
        ldw     x,#\count
        clr     a
next\@: or      a,(\from-1,x)
        decw    x
        jrne    next\@
        call    put_byte
        endm

main:   write   text,text_end
        write   short,short_end
        sum     zeros,300
        sum     few,20
        ldw     x,#__size_fast
10$:    decw    x
        ld      a,(__load_fast,x)
        ld      (__start_fast,x),a
        tnzw    x
        jrne    10$
        ldw     y,#'R'
        jp      in_ram
