start:  nop
        repeat 100              ; so that the error file is written in pieces
        nopp
        endr
        ldw x,#nowhere
