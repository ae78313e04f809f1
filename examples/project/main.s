; Counts the days of a year, month by month, reports over the UART, and then blinks.

        include "../include/stm8s.inc"

        scross  off

        xref    uart_init,put_text,put_decimal
        xdef    main
        xdef    tick_count

LED:            equ     PD_ODR:0
LED_OUTPUT:     equ     PD_DDR:0

PRESCALER:      equ     7               ; TIM4 ticks at 1 kHz
TICK_COUNTS:    equ     125
BLINK_TICKS:    equ     250

; In the zero page, so that other files reach it with one address byte: "xref.b".

        switch  .ubsct

tick_count:     ds.b    1

; Initialised data: the program may change it, as it does in leap years. Start-up copies it here.

        switch  .data

months: dc.b    31,28,31,30,31,30,31,31,30,31,30,31
months_end:

        switch  .bss

sums:   ds.w    12                      ; days up to the end of each month

.const: section hilo

hello:  dc.b    "Hello from the STM8S105!",13,10,0
days:   dc.b    " days, ",0
leap:   dc.b    " in a leap year",13,10,0

        switch  .text

main:
        clr     CLK_CKDIVR              ; 16 MHz
        bset    LED_OUTPUT
        call    uart_init
        ldw     x,#hello
        call    put_text

        callr   add_up
        call    put_decimal
        ldw     x,#days
        call    put_text
        inc     months+1                ; 29 days in February
        callr   add_up
        call    put_decimal
        ldw     x,#leap
        call    put_text

        mov     TIM4_PSCR,#PRESCALER
        mov     TIM4_ARR,#TICK_COUNTS-1
        bset    TIM4_IER,#TIM4_UIE
        bset    TIM4_CR1,#TIM4_CEN
        rim
blink:  ld      a,tick_count
        cp      a,#BLINK_TICKS
        jrult   blink
        clr     tick_count
        bcpl    LED
        jra     blink

; add_up: the days of the months so far, to "sums".
;   out: X the days of the year
;   uses: A, Y

add_up:
        clrw    y                       ; month
        pushw   y                       ; the sum, at (1,sp)
10$:    ld      a,(months,y)
        clrw    x
        ld      xl,a
        addw    x,(1,sp)
        ldw     (1,sp),x
        pushw   y
        sllw    y
        ldw     (sums,y),x
        popw    y
        incw    y
        cpw     y,#months_end-months
        jrult   10$
        popw    x
        ret

        end
