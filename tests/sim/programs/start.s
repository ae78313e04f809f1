; What every program is linked with: start-up, and output to the simulator's console, which takes
; 'p' and a character to print, 's' to stop. Sections of other names are copied by the programs.

        xref    main,__stack_top,__start_data,__load_data,__size_data,__start_bss,__size_bss
        xref.b  __start_bsct,__start_ubsct
        xref    __load_bsct,__size_bsct,__size_ubsct
        xdef    reset,unhandled,stop,put_char,put_byte,put_word
        wdef    tick

CONSOLE:        equ     $57FF

vectors:        section abs,code
        org     $8000
        dc.l    $82000000+reset,$82000000+stop
        repeat  23
        dc.l    $82000000+unhandled
        endr
        dc.l    $82000000+tick          ; TIM4
        repeat  6
        dc.l    $82000000+unhandled
        endr

; From the last byte to the first.
each:           macro   \size,\from,\to
        ldw     x,#\size
        jra     test\@
next\@: decw    x
        ifc     "\from",""
        clr     (\to,x)
        else
        ld      a,(\from,x)
        ld      (\to,x),a
        endif
test\@: tnzw    x
        jrne    next\@
        endm

        switch  .text

reset:  ldw     x,#__stack_top
        ldw     sp,x
        each    __size_data,__load_data,__start_data
        each    __size_bsct,__load_bsct,__start_bsct
        each    __size_bss,,__start_bss
        each    __size_ubsct,,__start_ubsct
        call    main
stop:   mov     CONSOLE,#'s'
        jra     stop
tick:
unhandled:
        ld      a,#'!'
        callr   put_char
        jra     stop

put_word:                               ; X in hexadecimal, and a blank; keeps all but A
        ld      a,xh
        callr   put_byte
        ld      a,xl
        callr   put_byte
        ld      a,#' '
        jra     put_char
put_byte:                               ; A in hexadecimal
        push    a
        swap    a
        callr   put_digit
        pop     a
put_digit:
        and     a,#$0F
        add     a,#'0'
        cp      a,#'9'+1
        jrult   put_char
        add     a,#'A'-'9'-1
put_char:
        mov     CONSOLE,#'p'
        ld      CONSOLE,a
        ret
