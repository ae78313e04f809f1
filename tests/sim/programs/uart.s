; Sends a text over UART2 and waits for each byte to leave.
        xdef    main

UART2_SR: equ   $5240
UART2_DR: equ   $5241

.const: section
text:   dc.b    "42 bytes, or so",10,0

        switch  .text
main:   clr     $50C6                   ; CLK_CKDIVR: 16 MHz
        mov     $5243,#$0B              ; BRR2, BRR1: 115200 baud
        mov     $5242,#$08
        mov     $5245,#$08              ; CR2: transmitter on
        ldw     x,#text
10$:    btjf    UART2_SR,#6,10$         ; TC
        ld      a,(x)
        jreq    20$
        ld      UART2_DR,a
        incw    x
        jra     10$
20$:    ret
