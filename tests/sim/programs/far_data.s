; The far half of far.s.
        xdef    far_twice,far_text,far_pointer

fartext: section code,long
        dcb.b   300,$9D
far_twice:
        callf   once
once:   push    a
        add     a,(1,sp)
        addw    sp,#1
        retf

farconst: section long
far_text:
        dc.b    " far ",0
far_pointer:
        dc.b    page(once),high(once),low(once)
