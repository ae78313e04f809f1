; UART2, sending only: 115200 baud on PD5.

        include "../include/stm8s.inc"

        scross  off

        xdef    uart_init,put_char

F_CPU:          equ     16000000
BAUD:           equ     115200
UART_DIVIDER:   equ     (F_CPU+BAUD/2)/BAUD

uart_init:
        mov     UART2_BRR2,#((UART_DIVIDER>>8)&$F0)|(UART_DIVIDER&$0F)
        mov     UART2_BRR1,#(UART_DIVIDER>>4)&$FF
        mov     UART2_CR2,#1<<UART_CR2_TEN
        ret

; put_char: send A when the character before it has left. The flag is set after a reset.
;   in:  A character

put_char:
        btjf    UART2_SR,#UART_SR_TC,put_char
        ld      UART2_DR,a
        ret

        end
