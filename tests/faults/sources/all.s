        include "macros.inc"
        include "table.inc"
        xdef start,end
        xref ext
start:  ld a,#COUNT
        .source "text.c:2-4"
        ld table,a
        repeat 30
        wait 1000
        .source "text.c:1-2"
        endr
        jreq end
        call ext
        ds.b 5000
        dc.w start,ext+2
end:    jra start
