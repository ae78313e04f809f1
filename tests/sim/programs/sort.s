; Insertion sort of an array that start-up has copied to RAM.
        xref    put_word
        xdef    main

        switch  .data
array:  dc.w    $8000,3,$FFFF,0,$1234,3,$7FFF,$0100
array_end:

        switch  .text
main:   ldw     x,#array
outer:  incw    x
        incw    x
        cpw     x,#array_end
        jreq    show
        pushw   x
inner:  ldw     y,x                     ; Y: the place; moves down while the one before is larger
        ldw     x,(x)
        pushw   x
        ldw     x,y
        subw    x,#2
        ldw     x,(x)
        cpw     x,(1,sp)
        jrule   placed
        ldw     (y),x
        subw    y,#2
        popw    x
        ldw     (y),x
        ldw     x,y
        cpw     x,#array
        jrne    inner
        pushw   x
placed: popw    x
        popw    x
        jra     outer
show:   ldw     y,#array
10$:    ldw     x,y
        ldw     x,(x)
        call    put_word
        addw    y,#2
        cpw     y,#array_end
        jrne    10$
        ret
