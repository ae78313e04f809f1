; One program for several boards: a heartbeat on the status LED, with an optional message.
;
;       nvasm8 board.s
;       nvasm8 -dBOARD_REV_B board.s
;       nvasm8 -dBOARD_REV_B -dF_CRYSTAL=8000000 -dDEBUG_UART -dDEBUG_BAUD=57600 board.s
;
; Nothing here says which board it is: board.inc does.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"
        include "board.inc"

        scross  off

; log "text": send a text to the debug UART, and nothing at all without DEBUG_UART. The text goes
; to the section .const and the program continues where it was: save and restore keep the section.
; The quotes are taken off the argument, so the body puts them on again.

log:            macro   \text
        ifdef   DEBUG_UART
        save
        switch  .const
\@t:    dc.b    "\text",13,10,0
        restore
        ldw     x,#\@t
        call    debug_puts
        endif
        endm

.const: section hilo

        vectors_begin   reset
        vectors_end

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clock_setup
        bset    LED_OUTPUT
        bset    LED_PUSH_PULL

        ifdef   DEBUG_UART
        mov     UART2_BRR2,#((UART_DIVIDER>>8)&$F0)|(UART_DIVIDER&$0F)
        mov     UART2_BRR1,#(UART_DIVIDER>>4)&$FF
        mov     UART2_CR2,#1<<UART_CR2_TEN
        endif

        log     "board: clock running, LED next"

; Two short flashes a second.

heartbeat:
        led_on
        ld      a,#5
        callr   wait_10ms
        led_off
        ld      a,#15
        callr   wait_10ms
        led_on
        ld      a,#5
        callr   wait_10ms
        led_off
        ld      a,#75
        callr   wait_10ms
        log     "beat"
        jra     heartbeat

; wait_10ms: wait A times 10 ms. A turn of the inner loop is 3 cycles. The loops follow F_CPU, so
; that all boards beat alike.
;   in:  A
;   uses: A, X

WAIT_LOOPS:     equ     F_CPU/100/3

        if      WAIT_LOOPS > $FFFF
        fail    "F_CPU is too high for the counter of wait_10ms"
        endif

wait_10ms:
        ldw     x,#WAIT_LOOPS
10$:    decw    x
        jrne    10$
        dec     a
        jrne    wait_10ms
        ret

        ifdef   DEBUG_UART

; debug_puts: send a text, ending in a zero byte. Each character waits until the one before has left
; the line; TC is set after a reset.
;   in:  X text
;   uses: A, X

debug_puts:
        ld      a,(x)
        jreq    20$
10$:    btjf    UART2_SR,#UART_SR_TC,10$
        ld      UART2_DR,a
        incw    x
        jra     debug_puts
20$:    ret

        endif

unhandled:
        jra     unhandled

        end
