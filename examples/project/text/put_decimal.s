; put_decimal: send a number in decimal.
;   in:  X number
;   uses: A, X

        scross  off

        xref    put_char
        xdef    put_decimal

; The digits come last first, so each call sends its quotient by another call and then its own digit.

put_decimal:
        ld      a,#10
        div     x,a
        push    a
        tnzw    x
        jreq    10$
        callr   put_decimal
10$:    pop     a
        add     a,#'0'
        jp      put_char

        end
