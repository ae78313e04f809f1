; Code and data above 64 KiB.
;
;       nvasm8 -l far_code.s
;
; The larger parts of the family have up to 128 KiB of flash, from $8000 to $27FFF, and 24-bit
; addresses for it: a page byte and two more. (The port registers are those of the other examples.)
; This program keeps its start and its interrupt table below $10000 and all else above, and shows
; what that takes:
;
;       callf, retf     call and return with three bytes on the stack
;       jpf             jump anywhere
;       ldf             load and store anywhere
;       page(a)         the bits of an address above the low 16; high(a) and low(a) are the rest
;       long            the attribute of a section whose labels may lie beyond 16 bits
;
; Which addresses the sections get is the linker's part: the page bytes below stand in the listing
; as they are before linking.

        include "../include/stm8s.inc"

; Far branches by jpf, which is also what each source file starts with.

        scross  on

LED:            equ     PD_ODR:0

STEPS:          equ     128             ; of brightness

        switch  .ubsct

level:          ds.b    1
direction:      ds.b    1               ; 1 or -1
chosen:         ds.b    1               ; place of the effect in "effects", in bytes
effect:         ds.b    3               ; far pointer to its routine, page byte first

; Interrupt entries hold 24 bits, so a handler may be in any page.

far_vector:     macro   \handler
        dc.b    $82,page(\handler)
        dc.w    \handler
        endm

vectors:        section abs,code
        org     VECTOR_TABLE
        far_vector      reset
        nolist                          ; 31 times the same
        repeat  VECTOR_COUNT-1
        far_vector      unhandled
        endr
        list

; Near code. It reaches the rest by jpf and callf only.

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clr     CLK_CKDIVR
        bset    PD_DDR,#0
        bset    PD_CR1,#0
        bset    PD_CR1,#7               ; button to ground, with pull-up
        clr     level
        mov     direction,#1
        jpf     main

; Far code. A "call" pushes two bytes and stays in its page, so it is for routines that end in ret
; and stand close by, and the linker has to keep the section in one page. Routines for everybody
; end in retf and are called by callf.

far_text:       section code,long

main:
        clr     chosen
        callr   choose

frame:
        callf   [effect.e]              ; through the pointer in memory
        callf   brightness              ; 8D and three bytes of address
        callf   pulse
        btjt    PD_IDR,#7,frame
10$:    btjf    PD_IDR,#7,10$           ; pressed: take the other effect when it is let go
        ld      a,chosen
        xor     a,#FAR_POINTER
        ld      chosen,a
        callr   choose
        jpf     frame                   ; so close by that it is assembled as jra

; choose: make "chosen" the effect in use.
;   uses: A, X

choose:
        clrw    x
        ld      a,chosen
        ld      xl,a
        ldf     a,(effects,x)           ; AF and three bytes
        ld      effect,a
        ldf     a,(effects+1,x)
        ld      effect+1,a
        ldf     a,(effects+2,x)
        ld      effect+2,a
        ret                             ; near, as callr is

; fade: brightness up and down, a step a frame.
;   uses: A

fade:
        ld      a,level
        add     a,direction
        ld      level,a
        jreq    10$
        cp      a,#STEPS-1
        jrne    20$
10$:    neg     direction
20$:    retf

; steady: the middle brightness.

steady:
        mov     level,#STEPS/2
        retf

; brightness: how long the LED is on in a frame.
;   out: A time
;   uses: X
;
; The table stands in the middle of the routine, as it may in generated code. The branch across it
; is too long for one byte, so it is assembled as the opposite branch around a jpf: 24 04 AC and
; three bytes. The target isn't a local label, as "squares" ends the reach of those.

brightness:
        ld      a,level
        cp      a,#STEPS
        jrult   level_known
        ld      a,#255
        retf

; The eye sees about the root of the light, so the table gives the square of the level.

squares:
n:              set     0
        repeat  STEPS
        dc.b    n*n*255/((STEPS-1)*(STEPS-1))
n:              set     n+1
        endr

level_known:
        clrw    x
        ld      xl,a
        ldf     a,(squares,x)
        retf

; pulse: the LED on for A units of time, then off for the rest of 256.
;   in:  A time on
;   uses: A

pulse:
        tnz     a
        jreq    10$
        bset    LED
        push    a
        callr   wait
        pop     a
10$:    bres    LED
        neg     a                       ; 256 less A; wait takes 0 as 256
        callr   wait
        retf

; wait: let A units of time go by.
;   uses: A

wait:
        push    #64
10$:    dec     (1,sp)
        jrne    10$
        addw    sp,#1
        dec     a
        jrne    wait
        ret

; An interrupt that nobody asked for: start again, from page to page.

unhandled:
        jpf     reset

; Far data. A far pointer is three bytes; each of page, high and low is a value of one byte, which
; the linker fills in.

far_const:      section long

FAR_POINTER:    equ     3               ; bytes

far_pointer:    macro   \target
        dc.b    page(\target),high(\target),low(\target)
        endm

effects:
        far_pointer     fade
        far_pointer     steady

        end
