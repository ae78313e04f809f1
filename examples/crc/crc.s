; CRC-16, CRC-32 and 32-bit division, with a self-test.
;
;       nvasm8 -l crc.s
;
; The routines are public, for other object files to call. The program around them runs the
; self-test at reset: it stops at "passed" or at "failed", where A tells which case it was.
;
; Much of the work is done while assembling: "set" gives a symbol a new value as often as wanted,
; and "repeat" runs lines, so the table of the CRC-32 is computed here and needs no generator.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"

        scross  off

; "xdef" makes names known to other object files.

        xdef    crc16,crc32,udiv32
        xdef    crc,dividend,divisor,remainder

CRC16_POLY:     equ     $1021           ; x^16 + x^12 + x^5 + 1, high bit first
CRC32_POLY:     equ     $EDB88320       ; the polynomial of Ethernet, low bit first

; Operands and results, high byte first as the processor has it. As they lie in the zero page,
; instructions reach them with one address byte.

        switch  .ubsct

crc:            ds.l    1               ; CRC-16 uses the first two bytes
dividend:       ds.l    1               ; becomes the quotient
divisor:        ds.l    1
remainder:      ds.l    1

        vectors_begin   reset
        vectors_end

; The step of a CRC-32 by one bit, on the symbol "acc".

crc32_bit:      macro
acc:            set     (acc>>1)^(CRC32_POLY&-(acc&1))
        endm

; The table for four bits at a time: entry n is what the CRC n becomes after four steps. The lines
; of a repeat are listed as often as they run, so nolist hides those that only compute.

.const: section hilo

crc32_table:
n:              set     0
        repeat  16
        nolist
acc:            set     n
n:              set     n+1
        repeat  4
        crc32_bit
        endr
        list
        dc.l    acc
        endr

; The same arithmetic can check itself: the CRC-32 of the digits 1 to 9 is known to be CBF43926.
; "repeatl" runs its lines once for each item of the list.

        nolist
acc:            set     $FFFFFFFF
        repeatl \digit,1,2,3,4,5,6,7,8,9
acc:            set     acc^'\digit'
        repeat  8
        crc32_bit
        endr
        endr
        if      ~acc != $CBF43926
        fail    "the CRC-32 polynomial is wrong"
        endif
        list

; Test data.

digits:         dc.b    "123456789"
DIGIT_COUNT:    equ     *-digits        ; the distance of two places in a section is a number
DIGITS_CRC16:   equ     $29B1
DIGITS_CRC32:   equ     $CBF43926

; Divisions: dividend, divisor, quotient, remainder.

division_tests:
        dc.l    100,7,14,2
        dc.l    $FFFFFFFF,1,$FFFFFFFF,0
        dc.l    $FFFFFFFF,$80000001,1,$7FFFFFFE
        dc.l    $12345678,$1234,$10004,$DA8
        dc.l    5,$10000,0,5
        dc.l    0,3,0,0
division_tests_end:

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        call    self_test
        jrc     failed

passed: jra     passed
failed: jra     failed

; crc16: CRC-16 with the start value $FFFF, high bit first.
;   in:  X data, Y number of bytes
;   out: X and "crc" the CRC
;   uses: A, Y

crc16:
        pushw   x
        ldw     x,#$FFFF
        ldw     crc,x
        popw    x
        push    #0                      ; room for the bit counter, at (1,sp)
        tnzw    y
        jreq    40$
10$:    ld      a,(x)
        xor     a,crc
        ld      crc,a
        ld      a,#8
        ld      (1,sp),a
20$:    sll     crc+1
        rlc     crc
        jrnc    30$
        ld      a,crc
        xor     a,#high(CRC16_POLY)
        ld      crc,a
        ld      a,crc+1
        xor     a,#low(CRC16_POLY)
        ld      crc+1,a
30$:    dec     (1,sp)
        jrne    20$
        incw    x
        decw    y
        jrne    10$
40$:    pop     a
        ldw     x,crc
        ret

; crc32: CRC-32 as of Ethernet and zip archives: start value all ones, low bit first, complemented
; at the end.
;   in:  X data, Y number of bytes
;   out: "crc" the CRC
;   uses: A, X, Y

crc32:
        pushw   x
        ldw     x,#$FFFF
        ldw     crc,x
        ldw     crc+2,x
        popw    x
        tnzw    y
        jreq    20$
10$:    ld      a,(x)
        xor     a,crc+3
        ld      crc+3,a
        pushw   x
        callr   crc32_nibble
        callr   crc32_nibble
        popw    x
        incw    x
        decw    y
        jrne    10$
20$:
        repeatl \i,0,1,2,3
        cpl     crc+\i
        endr
        ret

; Four steps at once: shift the CRC right by four and add the table entry of the bits that fell
; out. The repeats only save typing; the listing shows what they make of it.

crc32_nibble:
        ld      a,crc+3
        and     a,#$0F
        sll     a
        sll     a                       ; four bytes an entry
        clrw    x
        ld      xl,a
        repeat  4
        srl     crc
        rrc     crc+1
        rrc     crc+2
        rrc     crc+3
        endr
        repeatl \i,0,1,2,3
        ld      a,(crc32_table+\i,x)
        xor     a,crc+\i
        ld      crc+\i,a
        endr
        ret

; udiv32: unsigned division.
;   in:  "dividend", "divisor"
;   out: "dividend" the quotient, "remainder"; C set, and nothing else done, if the divisor is 0
;   uses: A, X
;
; Bit by bit, as on paper: the dividend moves left into the remainder, and where the divisor fits
; it is taken off and a 1 enters the quotient, which grows from below into the room that the
; dividend leaves.

udiv32:
        ldw     x,divisor
        jrne    10$
        ldw     x,divisor+2
        jrne    10$
        scf
        ret
10$:    clrw    x
        ldw     remainder,x
        ldw     remainder+2,x
        push    #32                     ; bits to go, at (1,sp)
20$:    sll     dividend+3
        repeatl \byte,dividend+2,dividend+1,dividend,remainder+3,remainder+2,remainder+1,remainder
        rlc     \byte
        endr
        jrc     40$                     ; a 33rd bit: the divisor fits
        ldw     x,remainder
        cpw     x,divisor
        jrne    30$
        ldw     x,remainder+2
        cpw     x,divisor+2
30$:    jrult   50$
40$:    ldw     x,remainder+2
        subw    x,divisor+2
        ldw     remainder+2,x           ; ldw and ld leave C alone
        ld      a,remainder+1
        sbc     a,divisor+1
        ld      remainder+1,a
        ld      a,remainder
        sbc     a,divisor
        ld      remainder,a
        inc     dividend+3
50$:    dec     (1,sp)
        jrne    20$
        pop     a
        rcf
        ret

; self_test: run all cases.
;   out: C clear if all is well; else C set and A the case, 1 and 2 for the CRCs, 3 and up for the
;        divisions

CASE_CRC16:     equ     1
CASE_CRC32:     equ     2
CASE_DIVISION:  equ     3

self_test:
        ldw     x,#digits
        ldw     y,#DIGIT_COUNT
        callr   crc16
        ld      a,#CASE_CRC16
        cpw     x,#DIGITS_CRC16
        jrne    test_failed

        ldw     x,#digits
        ldw     y,#DIGIT_COUNT
        callr   crc32
        ld      a,#CASE_CRC32
        ldw     x,crc
        cpw     x,#DIGITS_CRC32>>16
        jrne    test_failed
        ldw     x,crc+2
        cpw     x,#DIGITS_CRC32&$FFFF
        jrne    test_failed

        push    #CASE_DIVISION          ; the case, at (1,sp)
        ldw     y,#division_tests
10$:    repeatl \i,0,2
        ldw     x,y
        ldw     x,(\i,x)
        ldw     dividend+\i,x
        ldw     x,y
        ldw     x,(4+\i,x)
        ldw     divisor+\i,x
        endr
        callr   udiv32
        repeatl \i,0,2
        ldw     x,y
        ldw     x,(8+\i,x)
        cpw     x,dividend+\i
        jrne    20$
        ldw     x,y
        ldw     x,(12+\i,x)
        cpw     x,remainder+\i
        jrne    20$
        endr
        inc     (1,sp)
        addw    y,#16
        cpw     y,#division_tests_end
        jrult   10$
        pop     a
        rcf
        ret
20$:    pop     a
test_failed:
        scf
        ret

unhandled:
        jra     unhandled

        end
