; Where the bits of bits.s are.
        xdef    ready,error,led,status
        switch  .ubsct
        ds.b    1
flags:  ds.b    1
ready:  equ     flags:6
        switch  .bss
        ds.b    5
status: ds.b    2
error:  equ     status:7
led:    equ     $500F:2
