; Every branch, taken and not taken, forwards and backwards, to the last byte in reach and to the
; first out of it. Prints how often it went the wrong way, how many were tried, and how long all
; branches are together, which tells whether those in reach are short. With -b there are only those
; in reach. Without it they begin long, which costs a branch ahead the bytes that it may gain.
        xref    put_word
        xdef    main

        switch  .ubsct
wrong:  ds.w    1
tried:  ds.w    1
lengths: ds.w   1
bits:   ds.b    1
went:   ds.b    1                       ; 1 if the branch was taken

        ifdef   SHORT_ONLY
REACH:  equ     127
        else
REACH:  equ     123
        endif

V:      equ     $80
MASK:   equ     $28                     ; I1 and I0
H:      equ     $10
N:      equ     4
Z:      equ     2
C:      equ     1

        switch  .text

; Counts a branch that has run.
note:   macro   \length,\taken
        ldw     x,#\length
        ld      a,#\taken
        call    count
        endm

count:  addw    x,lengths
        ldw     lengths,x
        ldw     x,tried
        incw    x
        ldw     tried,x
        cp      a,went
        jreq    10$
        ldw     x,wrong
        incw    x
        ldw     wrong,x
10$:    clr     went
        ret

; "start" is called, so that each way ends in ret, whatever the distance.
forward: macro  \branch,\flags,\taken,\room
        call    start\@
        note    past\@-from\@,\taken
        jpf     done\@
start\@: push  #\flags
        pop     cc
from\@: \branch ahead\@
past\@: ret
        dcb.b   \room-1,$9D
ahead\@: inc   went
        ret
done\@:
        endm

; Here \room counts from the target to the end of the branch in its short form.
backward: macro \branch,\flags,\taken,\room,\short
        call    start\@
        note    past\@-from\@,\taken
        jpf     done\@
back\@: inc    went
        ret
        dcb.b   \room-6-\short,$9D
start\@: push  #\flags
        pop     cc
from\@: \branch back\@
past\@: ret
done\@:
        endm

; Flags with which the branch is taken, and with which it isn't.
near:   macro   \branch,\yes,\no,\short
        forward "\branch",\yes,1,REACH
        forward "\branch",\no,0,REACH
        backward "\branch",\yes,1,128,\short
        backward "\branch",\no,0,128,\short
        endm

both:   macro   \branch,\yes,\no,\short
        near    "\branch",\yes,\no,\short
        ifndef  SHORT_ONLY
        forward "\branch",\yes,1,128
        forward "\branch",\no,0,128
        backward "\branch",\yes,1,129,\short
        backward "\branch",\no,0,129,\short
        endif
        endm

always: macro   \branch
        forward \branch,0,1,REACH
        backward \branch,0,1,128,2
        ifndef  SHORT_ONLY
        forward \branch,0,1,128
        backward \branch,0,1,129,2
        endif
        endm

bits_at: macro  \bit,\ahead,\back
        forward "btjt bits,#\bit,",0,\bit=3,\ahead
        forward "btjf bits,#\bit,",0,\bit=4,\ahead
        backward "btjt bits,#\bit,",0,\bit=3,\back,5
        backward "btjf bits,#\bit,",0,\bit=4,\back,5
        endm

main:   both    jrc,C,Z,2
        both    jrnc,Z,C,2
        both    jrult,C,Z,2
        both    jruge,Z,C,2
        both    jreq,Z,N,2
        both    jrne,N,Z,2
        both    jrh,H,C,3
        both    jrnh,C,H,3
        both    jrm,MASK,C,3
        both    jrnm,C,MASK,3
        both    jrmi,N,Z,2
        both    jrpl,Z,N,2
        both    jrv,V,N,2
        both    jrnv,N,V,2
        both    jrsge,N|V,V,2
        both    jrslt,V,N|V,2
        both    jrsgt,N|V,Z,2
        both    jrsle,Z,N|V,2
        both    jrugt,N,C,2
        both    jrule,C,N,2
        always  jra
        always  jrt
        always  callr
        forward jrf,0,0,REACH
        backward jrf,0,0,128,2
        mov     bits,#%00001000
        bits_at 3,REACH,128
        bits_at 4,REACH,128
        ifndef  SHORT_ONLY
        bits_at 3,128,129
        bits_at 4,128,129
        endif
        ldw     x,wrong
        call    put_word
        ldw     x,tried
        call    put_word
        ldw     x,lengths
        call    put_word
        ret
