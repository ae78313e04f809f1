; put_hex: send a byte as two hexadecimal digits. The project doesn't call it, so the linker leaves
; it in the archive.
;   in:  A byte
;   uses: A

        scross  off

        xref    put_char
        xdef    put_hex

put_hex:
        push    a
        swap    a
        callr   10$
        pop     a
10$:    and     a,#$0F
        add     a,#'0'
        cp      a,#'9'+1
        jrult   20$
        add     a,#'A'-'9'-1
20$:    jp      put_char

        end
