; Echo what comes in on UART2 (PD6), out on PD5, at 115200 baud.
;
;       nvasm8 -l uart_echo.s
;
; Both directions run on interrupts with a ring buffer each, so the main program may be busy for
; as long as the rings have room. The sections are relocatable: the linker places them.
;
; A ring is an array with two indices. The writer alone moves "head", the reader alone moves
; "tail", and each is one byte, so neither side has to lock out the other. Equal indices mean an
; empty ring; a ring is full with one place still free, as otherwise full would look like empty.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"

        scross  off                     ; far branches by jp: this part has no flash above $FFFF

F_CPU:          equ     16000000
BAUD:           equ     115200
UART_DIVIDER:   equ     (F_CPU+BAUD/2)/BAUD     ; rounded: 139

RX_SIZE:        equ     64              ; powers of two, so that "and" wraps an index
TX_SIZE:        equ     32

        if      (RX_SIZE&(RX_SIZE-1)) || (TX_SIZE&(TX_SIZE-1)) || RX_SIZE > 256 || TX_SIZE > 256
        fail    "ring sizes must be powers of two, 256 at most"
        endif

CR:             equ     13
LF:             equ     10

; .ubsct is the zero page without initial values. A label in it is short: one address byte. The
; rings themselves are reached by an index and don't need that room.

        switch  .ubsct

rx_head:        ds.b    1
rx_tail:        ds.b    1
tx_head:        ds.b    1
tx_tail:        ds.b    1

        switch  .bss

rx_ring:        ds.b    RX_SIZE
tx_ring:        ds.b    TX_SIZE

        vectors_begin   reset
        irq     IRQ_UART2_TX,uart_tx
        irq     IRQ_UART2_RX,uart_rx
        vectors_end

; Constants of the program. A section may be of any name; what isn't said is taken from the
; default, high byte first.

.const: section hilo

greeting:       dc.b    "uart_echo ready",CR,LF,0

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clr     CLK_CKDIVR              ; 16 MHz

        clr     rx_head
        clr     rx_tail
        clr     tx_head
        clr     tx_tail

        bset    PD_DDR,#5               ; TX idles high before the UART takes the pin
        bset    PD_CR1,#5
        bset    PD_ODR,#5
        bset    PD_CR1,#6               ; RX with pull-up

        ; BRR1 starts the baud rate generator, so BRR2 goes first.
        mov     UART2_BRR2,#((UART_DIVIDER>>8)&$F0)|(UART_DIVIDER&$0F)
        mov     UART2_BRR1,#(UART_DIVIDER>>4)&$FF
        mov     UART2_CR2,#(1<<UART_CR2_TEN)|(1<<UART_CR2_REN)|(1<<UART_CR2_RIEN)
        rim

        ldw     x,#greeting
        callr   puts

; The end of a line is echoed as CR LF.

echo:
        callr   getc
        cp      a,#CR
        jrne    10$
        callr   putc
        ld      a,#LF
10$:    callr   putc
        jra     echo

; getc: wait for a character.
;   out: A character
;   uses: X
;
; The test for an empty ring and the wait must not be parted by an interrupt, or a character that
; comes between them would be slept over. So the test is made with interrupts off, and wfi turns
; them on in the same moment in which it stops the core.

getc:
        sim
        ld      a,rx_tail
        cp      a,rx_head
        jrne    10$
        wfi
        jra     getc
10$:    rim
        clrw    x
        ld      xl,a
        inc     a
        and     a,#RX_SIZE-1
        push    a
        ld      a,(rx_ring,x)
        pop     rx_tail                 ; moved only now: until here the place is taken
        ret

; putc: send a character, waiting while the ring is full.
;   in:  A character
;   uses: A, X

putc:
        push    a
        clrw    x
        ld      a,tx_head
        ld      xl,a
        inc     a
        and     a,#TX_SIZE-1
10$:    cp      a,tx_tail
        jreq    10$                     ; full: the interrupt moves tx_tail on
        push    a
        ld      a,(2,sp)                ; the character, below the new index
        ld      (tx_ring,x),a
        pop     tx_head
        pop     a
        bset    UART2_CR2,#UART_CR2_TIEN
        ret

; puts: send a text.
;   in:  X text, ending in a zero byte
;   uses: A, X

puts:
        ld      a,(x)
        jreq    10$
        pushw   x
        callr   putc
        popw    x
        incw    x
        jra     puts
10$:    ret

; A character has come. Reading the data register ends the request, so it is read even if the
; character is lost for want of room or for a framing error.

uart_rx:
        btjt    UART2_SR,#UART_SR_FE,10$
        clrw    x
        ld      a,rx_head
        ld      xl,a
        inc     a
        and     a,#RX_SIZE-1
        cp      a,rx_tail
        jreq    10$
        push    a
        ld      a,UART2_DR
        ld      (rx_ring,x),a
        pop     rx_head
        iret
10$:    ld      a,UART2_DR
        iret

; The transmitter takes another character. With nothing to send the request stays up, so the
; interrupt is turned off until putc has something.

uart_tx:
        ld      a,tx_tail
        cp      a,tx_head
        jreq    10$
        clrw    x
        ld      xl,a
        inc     a
        and     a,#TX_SIZE-1
        ld      tx_tail,a
        ld      a,(tx_ring,x)
        ld      UART2_DR,a
        iret
10$:    bres    UART2_CR2,#UART_CR2_TIEN
        iret

unhandled:
        jra     unhandled

        end
