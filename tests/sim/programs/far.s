; Far code in two files: calls there and back, through pointers in RAM and in far memory, and data.
        xref.l  far_twice,far_text,far_pointer
        xref    put_char,put_byte
        xdef    main,near_again

        switch  .ubsct
pointer:        ds.b    3

        switch  .text
main:   ld      a,#$21
        callf   far_twice
        call    put_byte
        clrw    x
10$:    ldf     a,(far_text,x)
        jreq    20$
        call    put_char
        incw    x
        jra     10$
20$:    clrw    x
        ldf     a,(far_pointer,x)
        ld      pointer,a
        ldf     a,(far_pointer+1,x)
        ld      pointer+1,a
        ldf     a,(far_pointer+2,x)
        ld      pointer+2,a
        ld      a,#$11
        callf   [pointer.e]
        call    put_byte
        jpf     away

near_again:
        call    put_char
        ret

fartext: section code,long
away:   jpf     next_page
        dcb.b   200,$9D
next_page:
        ld      a,#page(next_page)
        add     a,#'0'
        jpf     near_again
