; Blink the LED on PD0 twice a second, from the TIM4 interrupt.
;
;       nvasm8 -l blink.s
;
; A complete program of the simplest kind: all sections are absolute, so the addresses of the
; listing are those of the chip and a linker has nothing left to decide.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"

; A branch whose target is out of reach is assembled as the opposite branch around a jump. With
; "scross off" that jump is the 16-bit jp: right for a part with no flash above $FFFF.

        scross  off

F_CPU:          equ     16000000        ; the RC oscillator, undivided
TICK_HZ:        equ     1000
PRESCALER:      equ     7               ; 2 to the power 7, 128
TICK_COUNTS:    equ     F_CPU/(1<<PRESCALER)/TICK_HZ
HALF_PERIOD:    equ     250             ; ticks with the LED on, ticks with it off

; Numbers that a change of F_CPU could spoil are checked while assembling.

        if      TICK_COUNTS < 1 || TICK_COUNTS > 256
        fail    "TIM4 can't make this tick rate: change PRESCALER"
        endif

; A bit has a name of its own: address and bit number, joined by a colon. "bset LED" is then the
; same as "bset PD_ODR,#0".

LED:            equ     PD_ODR:0
LED_OUTPUT:     equ     PD_DDR:0
LED_PUSH_PULL:  equ     PD_CR1:0

; "bss" keeps the section's bytes out of the object file; "org" gives an absolute section its
; start. Labels below $100 make the short addressing modes.

ram:    section abs,bss
        org     RAM_START

countdown:      ds.w    1               ; ticks until the LED changes

        vectors_begin   reset
        irq     IRQ_TIM4,tim4_tick
        vectors_end

rom:    section abs,code
        org     VECTOR_TABLE+4*VECTOR_COUNT

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clr     CLK_CKDIVR              ; 16 MHz; the reset value divides by 8

        bset    LED_OUTPUT
        bset    LED_PUSH_PULL

        ldw     x,#HALF_PERIOD
        ldw     countdown,x

        mov     TIM4_PSCR,#PRESCALER
        mov     TIM4_ARR,#TICK_COUNTS-1
        bset    TIM4_EGR,#TIM4_UG       ; loads the prescaler, and raises the flag
        bres    TIM4_SR,#TIM4_UIF
        bset    TIM4_IER,#TIM4_UIE
        bset    TIM4_CR1,#TIM4_CEN
        rim                             ; interrupts on

sleep:
        wfi
        jra     sleep

; TIM4 update, every millisecond. The processor has saved A, X, Y and CC.
;
; 10$ is a local label: it is known between the two ordinary labels around it, and the next
; routine may have a 10$ of its own.

tim4_tick:
        bres    TIM4_SR,#TIM4_UIF
        ldw     x,countdown
        decw    x
        jrne    10$
        bcpl    LED
        ldw     x,#HALF_PERIOD
10$:    ldw     countdown,x
        iret

; Any other interrupt is a fault. The program stays here, where a debugger finds it.

unhandled:
        jra     unhandled

        end
