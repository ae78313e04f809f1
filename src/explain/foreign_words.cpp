// The directives of the dialects that those who come to STM8 have met, and the mnemonics of the
// families that its instruction set resembles.

#include "explain/foreign_words.h"

#include "base/number.h"
#include <algorithm>

struct ForeignWord {
    std::string_view words; // in lower case, each between blanks
    std::string_view advice;
};

static constexpr ForeignWord foreign_words[] = {
    {" .byte .db db defb .1byte .dc.b byte ", "bytes are written: dc.b 1,2,3"},
    {" .word .dw dw defw .2byte .short .hword .half .dc.w word ", "words of two bytes: dc.w 1,2"},
    {" .long .int .dd dd .4byte .quad .dl dl .dc.l ", "values of four bytes: dc.l 1"},
    {" .ascii .text8 .str ", "text is written: dc.b \"text\""},
    {" .asciz .asciiz .string .strz ", "text with a zero byte at its end: dc.b \"text\",0"},
    {" .space .skip .zero .res .ds .ds.b .blkb .rs .rmb .block resb defs skip space ",
     "room without contents: ds.b 10"},
    {" .blkw .ds.w resw ", "room for words: ds.w 10"},
    {" .fill fill ", "copies of a value: dcb.b 10,$ff"},
    {" .org .orig ",
     "org goes without a dot: org 16; in a section that isn't absolute it counts from "
     "its start, and the linker places the section"},
    {" .equ .eq .set .define .equiv define ", "a value gets its name so: NAME: equ 5"},
    {" .weak weak ", "a name that other files may define themselves: wdef name"},
    {" .pushsection .popsection .previous ",
     "the section in force is kept by save and taken up again by restore"},
    {" .exitm exitm .mexit ", "a macro is left by mexit"},
    {" .rodata .const .rdata const ",
     "constants may stand in .text, or in a section of their own: `name: section`"},
    {" .globl .global .public .export global globl public export ",
     "names for other files: xdef name"},
    {" .extern .import .extrn extern import extrn ", "names from other files: xref name"},
    {" .section .area area segment .segment .sect .csect ",
     "a section is made by `name: section` and selected by `switch name`"},
    {" .text .code code .cseg cseg ", "to put code here: switch .text"},
    {" .data .dseg dseg data ", "to put initialised data here: switch .data"},
    {" .bss bss ", "to reserve variables here: switch .bss"},
    {" .include #import .incl use ", "another file is read by: include \"name\""},
    {" .incbin incbin .binary ", "binary files can't be included: write their bytes with dc.b"},
    {" .macro #macro ",
     "a macro begins with `name: macro \\a,\\b`; its name stands ahead of the word"},
    {" .endm .endmacro endmacro #endm .mend mend ", "a macro ends with endm"},
    {" .rept rept .repeat .rep rep .dup dup ", "lines are repeated by `repeat 3` ... `endr`"},
    {" .endr .endrep .endrept endrept ", "a repeat ends with endr"},
    {" .irp .irpc irpc ", "lines are repeated for each item by `repeatl \\a,1,2,3` ... `endr`"},
    {" .if .ifdef .ifndef .ifeq .ifne .else .endif .ifc .endc ",
     "conditionals go without a dot: if, ifdef, ifndef, else, endif"},
    {" .elif .elseif elif elseif #elif #elseif ",
     "there is no such branch: use else and a second if inside of it, with an endif for each"},
    {" #undef undef .undef ", "a name keeps its value; what changes is defined by: NAME: set 5"},
    {" .align .balign .p2align alignb .bndry ",
     "align goes without a dot and takes the number of bytes: align 4"},
    {" .even ", "even goes without a dot"},
    {" .end ", "end goes without a dot"},
    {" .error .err error ", "a message that stops the build: fail \"text\""},
    {" .warning .print .echo echo .message ", "a text is printed by: messg \"text\""},
    {" .title .sbttl ", "titles of the listing: title \"text\""},
    {" .list .nolist .page ", "directives of the listing go without a dot"},
    {" .local ", "local labels are digits and a dollar sign, 10$:, and reach from label to label"},
    {" .module .optsdcc .cpu .file .func .endfunc .type .size .ident .name .globalsym .arch .proc "
     "proc endp .endp "
     ".model processor device .device ",
     "there is nothing of the kind here: remove the line"},
    {" jmp b bra sjmp ajmp ljmp ", "a jump is written: jp label, or jra label"},
    {" jsr bsr bl rcall lcall acall ", "a call is written: call label"},
    {" rts rets reti rti bx ", "routines end with ret, interrupt routines with iret"},
    {" beq jz je jreqz ", "branch if equal: jreq label"},
    {" bne jnz jne ", "branch if not equal: jrne label"},
    {" bcc bhs jnc jae ", "branch if carry is clear: jrnc label"},
    {" bcs blo jc jb ", "branch if carry is set: jrc label"},
    {" bmi js ", "branch if negative: jrmi label"},
    {" bpl jns ", "branch if not negative: jrpl label"},
    {" bge jge ", "branch if greater or equal, signed: jrsge label"},
    {" bgt jg ", "branch if greater, signed: jrsgt label"},
    {" ble jle ", "branch if less or equal, signed: jrsle label"},
    {" blt jl ", "branch if less, signed: jrslt label"},
    {" bhi ja ", "branch if higher, unsigned: jrugt label"},
    {" bls jbe ", "branch if lower or same, unsigned: jrule label"},
    {" lda ldaa movb ldi ", "a register is loaded by: ld a,#5 or ld a,address"},
    {" sta staa st std str ", "a register is stored by: ld address,a or ldw address,x"},
    {" djnz dbnz ", "a loop is counted by: dec a, or decw x, and jrne label"},
    {" ldx ldy lds movw ", "index registers are loaded by: ldw x,#5 or ldw x,address"},
    {" stx sty sts ", "index registers are stored by: ldw address,x"},
    {" cmp cmpa cpi ", "a comparison is written: cp a,#5; of index registers: cpw x,#5"},
    {" cpx cpy cmpx ", "a comparison of index registers: cpw x,#5"},
    {" adda addi ", "an addition: add a,#5"},
    {" inca inr ", "an increment: inc a; of index registers: incw x"},
    {" deca dcr ", "a decrement: dec a; of index registers: decw x"},
    {" inx iny ", "index registers are incremented by: incw x"},
    {" dex dey ", "index registers are decremented by: decw x"},
    {" clra ", "a is cleared by: clr a"},
    {" clrx clry ", "index registers are cleared by: clrw x"},
    {" tax txa tay tya mv move ", "registers are copied by: ld xl,a or ld a,xl; ldw x,y for words"},
    {" psha pshx pha phx ", "registers are pushed by: push a or pushw x"},
    {" pula pulx pla plx ", "registers are popped by: pop a or popw x"},
    {" ora oraa ", "an or is written: or a,#5"},
    {" eor eora ", "an exclusive or is written: xor a,#5"},
    {" anda andi ", "an and is written: and a,#5"},
    {" com not ", "the complement is written: cpl a"},
    {" lsl asl shl sal ", "a shift to the left is written: sll a"},
    {" lsr shr ", "a shift to the right is written: srl a"},
    {" asr sar ", "an arithmetic shift to the right is written: sra a"},
    {" rol ", "a rotation to the left through carry is written: rlc a"},
    {" ror ", "a rotation to the right through carry is written: rrc a"},
    {" clc ", "carry is cleared by: rcf"},
    {" sec stc ", "carry is set by: scf"},
    {" cli ei sti ", "interrupts are allowed by: rim"},
    {" sei di ", "interrupts are held off by: sim"},
    {" brset ", "branch if a bit is set: btjt address,#bit,label"},
    {" brclr ", "branch if a bit is clear: btjf address,#bit,label"},
    {" sbi setb ", "a bit is set by: bset address,#bit"},
    {" cbi clrb ", "a bit is cleared by: bres address,#bit"},
    {" swi brk ", "a software interrupt is written: trap"},
    {" int vector irq interrupt ", "a vector is written: dc.l $82000000+name"},
    {" wait wai stop sleep ", "the core waits by: wfi or halt"},
};

std::string advice_for_foreign_word(std::string_view word)
{
    std::string wanted = " " + std::string(word) + " ";
    std::ranges::transform(wanted, wanted.begin(), lower_case);
    for (const ForeignWord &row : foreign_words) {
        if (row.words.find(wanted) != std::string_view::npos)
            return std::string(row.advice);
    }
    return {};
}
