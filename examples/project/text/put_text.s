; put_text: send a text.
;   in:  X text, ending in a zero byte
;   uses: A, X

        scross  off

        xref    put_char
        xdef    put_text

put_text:
        ld      a,(x)
        jreq    10$
        call    put_char
        incw    x
        jra     put_text
10$:    ret

        end
