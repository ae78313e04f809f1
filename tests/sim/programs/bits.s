; Bits that another file names: in the zero page, in RAM and in a register.
        xbit.b  ready
        xbit    error,led
        xref    status,put_byte,put_word
        xdef    main

main:   bset    ready
        bset    error
        bset    error+1                 ; bit 0 of the byte after it
        bres    ready
        bcpl    led
        scf
        bccm    led+1
        clr     a
        btjt    ready,10$
        ld      a,#1
10$:    btjf    error,20$
        add     a,#2
20$:    call    put_byte
        ldw     x,status
        call    put_word
        ld      a,$500F                 ; port D, output
        jp      put_byte
