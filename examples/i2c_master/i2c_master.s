; An I2C master on two port pins, and a program that reads a temperature sensor with it.
;
;       nvasm8 -l i2c_master.s
;
; The pins are PE1 (SCL) and PE2 (SDA), which are true open-drain outputs: writing 0 pulls the line
; down, writing 1 lets it go, and reading IDR gives the level that the bus really has. Both need a
; pull-up resistor on the board.
;
; The program lives on bit instructions: btjt and btjf copy the bit that they test to C, and bccm
; writes C to a bit, so bytes go through the carry from and to the bus.

        include "../include/stm8s.inc"
        include "../include/vectors.inc"

        scross  off

F_CPU:          equ     16000000
I2C_HZ:         equ     100000

; The loop of half_bit takes 3 cycles a turn. Calls and bit instructions add to it, so the bus is
; somewhat slower than asked for, which I2C allows.

HALF_BIT_LOOPS: equ     F_CPU/I2C_HZ/2/3

SCL:            equ     PE_ODR:1        ; bits by name: address, colon, bit number
SDA:            equ     PE_ODR:2
SCL_PIN:        equ     PE_IDR:1
SDA_PIN:        equ     PE_IDR:2

; A sensor of the common kind: two bytes, degrees in the first, fractions in the second.

SENSOR:         equ     $48             ; 7-bit address
SENSOR_TEMP:    equ     0               ; register
I2C_READ:       equ     1               ; lowest bit of the address byte

        switch  .ubsct

status:         ds.b    1
temperature:    ds.w    1

; Bits of a byte in memory may have names too, although the linker decides on the address.

bus_stuck:      equ     status:0        ; somebody holds SCL down
sensor_lost:    equ     status:1        ; no acknowledge

; Send a byte; on a missing acknowledge go on at another place. Within reach the call becomes the
; shorter callr by itself, and a callr out of reach becomes a call.

i2c_send:       macro   \value,\otherwise
        ld      a,#\value
        call    i2c_write
        jrc     \otherwise
        endm

        vectors_begin   reset
        vectors_end

        switch  .text

reset:
        ldw     x,#RAM_END
        ldw     sp,x
        clr     CLK_CKDIVR              ; 16 MHz
        clr     status
        callr   i2c_init

measure:
        callr   read_temperature
        ldw     y,#0
10$:    callr   half_bit                ; some 400 ms between two readings
        decw    y
        jrne    10$
        jra     measure

; read_temperature: one reading of the sensor, to "temperature"; sensor_lost tells if it failed.
;   uses: A, X

read_temperature:
        bres    bus_stuck
        bres    sensor_lost
        callr   i2c_start
        i2c_send SENSOR<<1,20$
        i2c_send SENSOR_TEMP,20$
        callr   i2c_start               ; again, to turn the direction round
        i2c_send (SENSOR<<1)|I2C_READ,20$
        rcf                             ; acknowledge: go on
        callr   i2c_read
        ld      xh,a
        scf                             ; no acknowledge: the last byte
        callr   i2c_read
        ld      xl,a
        btjt    bus_stuck,10$
        ldw     temperature,x
10$:    jra     i2c_stop                ; its ret is ours

20$:    bset    sensor_lost
        jra     i2c_stop

; i2c_init: both lines released, both pins outputs. A sensor that was cut off in the middle of a
; byte holds SDA; nine clocks make it let go.
;   uses: A

i2c_init:
        bset    SCL
        bset    SDA
        ld      a,PE_DDR
        or      a,#(1<<1)|(1<<2)
        ld      PE_DDR,a
        push    #9
10$:    callr   i2c_clock
        dec     (1,sp)
        jrne    10$
        pop     a
        jra     i2c_stop

; i2c_start: SDA falls while SCL is high. Also in the middle of a transfer, as a repeated start.

i2c_start:
        bset    SDA
        callr   half_bit
        callr   scl_release
        callr   half_bit
        bres    SDA
        callr   half_bit
        bres    SCL
        ret

; i2c_stop: SDA rises while SCL is high.

i2c_stop:
        bres    SCL
        bres    SDA
        callr   half_bit
        callr   scl_release
        callr   half_bit
        bset    SDA
        jra     half_bit

; i2c_write: send a byte, highest bit first.
;   in:  A byte
;   out: C clear if it was acknowledged
;   uses: A

i2c_write:
        push    #8                      ; bits to go, at (1,sp)
10$:    sll     a                       ; the next bit is in C
        bccm    SDA                     ; and now on the line
        callr   i2c_clock
        dec     (1,sp)                  ; leaves C alone
        jrne    10$
        bset    SDA                     ; the sensor pulls it down to acknowledge
        callr   i2c_clock
        pop     a                       ; leaves C alone
        ret

; i2c_read: receive a byte.
;   in:  C clear to acknowledge it, set for the last byte
;   out: A byte

i2c_read:
        push    cc
        bset    SDA                     ; the sensor has the line
        push    #8
10$:    callr   i2c_clock
        rlc     a                       ; the bit enters from below
        dec     (1,sp)
        jrne    10$
        addw    sp,#1
        pop     cc
        bccm    SDA                     ; the acknowledge is a 0
        callr   i2c_clock
        bset    SDA
        ret

; i2c_clock: one pulse on SCL.
;   out: C the level of SDA while SCL was high

i2c_clock:
        callr   half_bit
        callr   scl_release
        callr   half_bit
        btjt    SDA_PIN,10$             ; sets C; where it branches doesn't matter
10$:    bres    SCL
        ret

; scl_release: let SCL rise, and wait for it, as a slow sensor may hold it down. After a while the
; bus counts as stuck.

STRETCH_LIMIT:  equ     2000            ; turns of 5 or 6 cycles, 0.7 ms in all

scl_release:
        bset    SCL
        pushw   x
        ldw     x,#STRETCH_LIMIT
10$:    btjt    SCL_PIN,20$
        decw    x
        jrne    10$
        bset    bus_stuck
20$:    popw    x
        ret

; half_bit: wait for half a bit, with all registers kept.

half_bit:
        pushw   x
        ldw     x,#HALF_BIT_LOOPS
10$:    decw    x
        jrne    10$
        popw    x
        ret

unhandled:
        jra     unhandled

        end
