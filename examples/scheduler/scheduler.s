; A pedestrian crossing, run by a cooperative scheduler and a state machine.
;
;       nvasm8 -l scheduler.s
;
; Both are driven by tables, and macros write the tables: see scheduler.inc. "mlist on" has the
; listing show what the macros made.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"

        scross  off

F_CPU:          equ     16000000
TICK_MS:        equ     2
PRESCALER:      equ     7
TICK_COUNTS:    equ     F_CPU/(1<<PRESCALER)*TICK_MS/1000

.const: section hilo

        include "scheduler.inc"

; Lamps on port D, and the button to ground on PD7.

LAMP_RED:       equ     1<<0
LAMP_AMBER:     equ     1<<2
LAMP_GREEN:     equ     1<<3
LAMPS:          equ     LAMP_RED|LAMP_AMBER|LAMP_GREEN

BUTTON:         equ     PD_IDR:7
HEARTBEAT:      equ     PD_ODR:4

        switch  .ubsct

ticks:          ds.b    1               ; ticks that the scheduler hasn't seen yet
fsm_state:      ds.b    1
fsm_timer:      ds.w    1               ; turns of fsm_clock until EV_TIMEOUT, 0 for none
button_history: ds.b    1               ; the last eight samples, newest in bit 0

        mlist   on

; What is called when.

        tasks_begin
        task.m  button_scan,10
        task.m  fsm_clock,100
        task.s  heartbeat,1,500
        tasks_end

; What the lights do. A row without an action only changes the state.

        enum    GO,WARN,STOP,CLEAR
FSM_STATES:     equ     enum_next

        enum    EV_REQUEST,EV_TIMEOUT
FSM_EVENTS:     equ     enum_next

        fsm_begin
        on      GO,EV_REQUEST,WARN,show_amber
        on      GO,EV_TIMEOUT,GO
        on      WARN,EV_REQUEST,WARN
        on      WARN,EV_TIMEOUT,STOP,show_red
        on      STOP,EV_REQUEST,STOP
        on      STOP,EV_TIMEOUT,CLEAR,show_red_amber
        on      CLEAR,EV_REQUEST,CLEAR
        on      CLEAR,EV_TIMEOUT,GO,show_green
        fsm_end

        mlist   off

; Turn lamps on and the others off, and have EV_TIMEOUT come after a number of seconds, or never
; with 0.

show:           macro   \lamps,\seconds
        ld      a,PD_ODR
        and     a,#~LAMPS
        or      a,#\lamps
        ld      PD_ODR,a
        ldw     x,#(\seconds)*10
        ldw     fsm_timer,x
        endm

        vectors_begin   reset
        irq     IRQ_TIM4,tick
        vectors_end

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clr     CLK_CKDIVR

        mov     PD_DDR,#LAMPS|(1<<4)
        mov     PD_CR1,#LAMPS|(1<<4)|(1<<7)

        clr     ticks
        mov     button_history,#$FF     ; let go
        mov     fsm_state,#GO
        callr   show_green
        callr   tasks_init

        mov     TIM4_PSCR,#PRESCALER
        mov     TIM4_ARR,#TICK_COUNTS-1
        bset    TIM4_EGR,#TIM4_UG
        bres    TIM4_SR,#TIM4_UIF
        bset    TIM4_IER,#TIM4_UIE
        bset    TIM4_CR1,#TIM4_CEN

; Sleep until a tick, then run what is due. A task that takes longer than a tick delays the others,
; but no tick is lost as long as "ticks" doesn't overflow.

idle:
        sim
        tnz     ticks
        jrne    10$
        wfi                             ; ends the sim as it stops the core
        jra     idle
10$:    dec     ticks
        rim
        callr   run_tasks
        jra     idle

tick:
        bres    TIM4_SR,#TIM4_UIF
        inc     ticks
        iret

; tasks_init: start all countdowns.
;   uses: X, Y

tasks_init:
        ldw     y,#task_table
10$:    ldw     x,y
        ldw     x,(TASK_CELL,x)
        pushw   y
        ldw     y,(TASK_FIRST,y)
        ldw     (x),y
        popw    y
        addw    y,#TASK_SIZE
        cpw     y,#task_table_end
        jrult   10$
        ret

; run_tasks: count all tasks down by a tick, and call those whose time has come. A task may use all
; registers.
;   uses: A, X, Y

run_tasks:
        ldw     y,#task_table
10$:    pushw   y                       ; the record, at (1,sp)
        ldw     x,y
        ldw     x,(TASK_CELL,x)
        ldw     y,x
        ldw     y,(y)
        decw    y
        jrne    20$
        ldw     y,(1,sp)
        ldw     y,(TASK_PERIOD,y)
        ldw     (x),y
        ldw     y,(1,sp)
        ldw     y,(TASK_ENTRY,y)
        call    (y)
        jra     30$
20$:    ldw     (x),y
30$:    popw    y
        addw    y,#TASK_SIZE
        cpw     y,#task_table_end
        jrult   10$
        ret

; fsm_post: an event has happened: go to the next state, and do its action.
;   in:  A event
;   uses: A, X

        if      FSM_ROW != 4
        fail    "fsm_post multiplies by 4"
        endif

fsm_post:
        push    a
        push    #0                      ; the event as a word, at (1,sp)
        ld      a,fsm_state
        ld      xl,a
        ld      a,#FSM_EVENTS
        mul     x,a
        addw    x,(1,sp)
        addw    sp,#2
        sllw    x
        sllw    x
        addw    x,#fsm_table
        ld      a,(FSM_NEXT,x)
        ld      fsm_state,a
        ldw     x,(FSM_ACTION,x)
        jp      (x)                     ; its ret is ours

fsm_no_action:
        ret

; Actions.

show_green:
        show    LAMP_GREEN,0
        ret

show_amber:
        show    LAMP_AMBER,3
        ret

show_red:
        show    LAMP_RED,8
        ret

show_red_amber:
        show    LAMP_RED|LAMP_AMBER,2
        ret

; Tasks.

; Every 100 ms: the timer of the state machine.

fsm_clock:
        ldw     x,fsm_timer
        jreq    10$
        decw    x
        ldw     fsm_timer,x
        jrne    10$
        ld      a,#EV_TIMEOUT
        jra     fsm_post
10$:    ret

; Every 10 ms: the button. It counts as pressed when four samples in a row are low after four that
; were high.

button_scan:
        btjt    BUTTON,10$              ; C is the pin, whether or not it branches
10$:    rlc     button_history
        ld      a,button_history
        cp      a,#$F0
        jrne    20$
        ld      a,#EV_REQUEST
        jra     fsm_post
20$:    ret

; Every second: a sign of life.

heartbeat:
        bcpl    HEARTBEAT
        ret

unhandled:
        jra     unhandled

        end
