; Every way to store an address of another file: each is put together again and must lead to it.
        xref    near_text,put_char,put_word
        xref.l  far_text
        xdef    main

swapped: section -hilo
low_first:
        dc.w    near_text+1
        dc.l    far_text+1
        switch  .data
parts:  dc.b    high(near_text+2),low(near_text+2)
longs:  dc.l    far_text+2
        dc.w    page(far_text),plow(far_text+3)
        dc.b    phigh(far_text+4),low(far_text+4)

        switch  .ubsct
pointer: ds.b   3

        switch  .text
main:   ldw     x,low_first             ; low byte first: swapped in memory
        swapw   x
        ld      a,(x)
        call    put_char
        ldw     x,parts
        ld      a,(x)
        call    put_char
        ld      a,low_first+4
        ld      pointer,a
        ld      a,low_first+3
        ld      pointer+1,a
        ld      a,low_first+2
        callr   put_far
        mov     pointer,longs+1
        mov     pointer+1,longs+2
        ld      a,longs+3
        callr   put_far
        mov     pointer,longs+5
        mov     pointer+1,longs+6
        ld      a,longs+7
        callr   put_far
        mov     pointer+1,longs+8
        ld      a,longs+9
        callr   put_far
        ldw     x,#near_text-$9000      ; a negative addend
        jp      put_word

put_far: ld     pointer+2,a
        ldf     a,[pointer.e]
        jp      put_char
