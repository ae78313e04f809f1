; The CRC-16 of the flash ahead of $8FFE as the chip computes it, and as the linker stored it there.
        xref    put_word
        xdef    main

FIRST:  equ     $8000
STORED: equ     $8FFE

        switch  .ubsct
crc:    ds.w    1

        switch  .text
main:   ldw     x,#$FFFF
        ldw     crc,x
        ldw     y,#FIRST
each:   ld      a,(y)
        xor     a,crc
        ld      crc,a
        ldw     x,crc
        ld      a,#8
bit:    sllw    x
        jrnc    clear
        rlwa    x,a                     ; X ^ $1021, byte by byte; A turns round with it
        push    a
        ld      a,xh
        xor     a,#$21
        ld      xh,a
        pop     a
        xor     a,#$10
        rrwa    x,a
clear:  dec     a
        jrne    bit
        ldw     crc,x
        incw    y
        cpw     y,#STORED
        jrne    each
        call    put_word
        ldw     x,STORED
        jp      put_word
