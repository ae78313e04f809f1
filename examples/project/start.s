; Start-up and interrupt vectors: what runs ahead of "main". The names that begin with __ are made
; by the linker, which knows where the sections went.

        include "../include/stm8s.inc"

        scross  off

        xref    main
        xref    __stack_top
        xref    __start_data,__load_data,__size_data
        xref    __start_bss,__size_bss
        xref    __start_ubsct,__size_ubsct
        xref.b  tick_count
        xdef    reset

; The vectors are an absolute section, so no option of the linker is needed to have them at $8000.
; Interrupts that nobody handles go to a weak label, which another file may define as well.

        wdef    unhandled

vectors:        section abs,code
        org     VECTOR_TABLE
        dc.l    $82000000+reset
        dc.l    $82000000+unhandled     ; trap
number: set     0
        repeat  VECTOR_COUNT-2
        if      number = IRQ_TIM4
        dc.l    $82000000+tick
        else
        dc.l    $82000000+unhandled
        endif
number: set     number+1
        endr

        switch  .text

reset:
        ldw     x,#__stack_top
        ldw     sp,x

; Initialised data runs in RAM and is stored in flash: copy it, from its end to its beginning.

        ldw     x,#__size_data
        jra     20$
10$:    decw    x
        ld      a,(__load_data,x)
        ld      (__start_data,x),a
20$:    tnzw    x
        jrne    10$

; Variables without initial values are random after power-up: clear them.

        ldw     x,#__size_bss
        jra     40$
30$:    decw    x
        clr     (__start_bss,x)
40$:    tnzw    x
        jrne    30$

        ldw     x,#__size_ubsct
        jra     60$
50$:    decw    x
        clr     (__start_ubsct,x)
60$:    tnzw    x
        jrne    50$

        jp      main

tick:   bres    TIM4_SR,#TIM4_UIF
        inc     tick_count
        iret

unhandled:
        jra     unhandled

        end
