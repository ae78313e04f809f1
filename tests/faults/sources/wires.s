&// constants
        org $8000
        repeat 200
reset\@: nop
        funa RESET\@,reset\@
        endr
