; Two endless tasks that TIM4 takes turns with. Each has a stack of its own; an interrupt pushes all
; registers, so another stack pointer is another task. A task prints once in each of its turns.
        xref    put_char,put_byte,stop
        xdef    main,tick

TURNS:  equ     6

        switch  .ubsct
turn:   ds.b    1
sleeper: ds.w   1                       ; stack pointer of the task that waits

        switch  .bss
other_stack:    ds.b    63
other_top:      ds.b    1

        switch  .text
task:   macro   \letter
loop\@: ld      a,#'\letter'
        ld      yh,a
        ld      a,turn
        ld      yl,a
        sim                             ; the console takes two stores
        ld      a,yh
        call    put_char
        rim
wait\@: ld      a,yl
        cp      a,turn
        jreq    wait\@
        jra     loop\@
        endm

; The second task starts by the iret of the first switch: nine bytes, CC with interrupts on first.
main:   ldw     x,#other_top-9
        ldw     sleeper,x
        ld      a,#$20
        ld      (1,x),a
        ld      a,#page(task_b)
        ld      (7,x),a
        ldw     y,#task_b
        ldw     (8,x),y
        mov     $5345,#3                ; TIM4: prescaler, period, interrupt, run
        mov     $5346,#200
        mov     $5341,#1
        mov     $5340,#1
        rim
task_a: task    a
task_b: task    b

tick:   bres    $5342,#0
        inc     turn
        ld      a,turn
        cp      a,#TURNS
        jrne    10$
        jp      stop
10$:    ldw     x,sp
        ldw     y,sleeper
        ldw     sleeper,x
        ldw     sp,y
        iret
