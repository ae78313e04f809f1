" Vim syntax file
" Language: assembler sources for nvasm8 (STM8)

if exists("b:current_syntax")
  finish
endif

" Operations are known in any case; symbols and registers are not.
syntax iskeyword @,48-57,_,.,#,$
syntax case ignore
syntax keyword nvasm8Mnemonic adc add addw and bccm bcp bcpl bkpt break bres bset btjf btjt call
syntax keyword nvasm8Mnemonic callf callr ccf clr clrw cp cpl cplw cpw dec decw div divw exg
syntax keyword nvasm8Mnemonic exgw halt inc incw iret jp jpf jra jrc jreq jrf jrh jrih jril jrm
syntax keyword nvasm8Mnemonic jrmi jrnc jrne jrnh jrnm jrnv jrpl jrsge jrsgt jrsle jrslt jrt
syntax keyword nvasm8Mnemonic jruge jrugt jrule jrult jrv ld ldf ldw mov mul neg negw nop or pop
syntax keyword nvasm8Mnemonic popw push pushw rcf ret retf rim rlc rlcw rlwa rrc rrcw rrwa rvf
syntax keyword nvasm8Mnemonic sbc scf sim sla slaw sll sllw sra sraw srl srlw sub subw swap
syntax keyword nvasm8Mnemonic swapw tnz tnzw trap wfe wfi xor
syntax keyword nvasm8Directive #define #else #endif #error #if #ifdef #ifndef #include #line
syntax keyword nvasm8Directive .dcall .dendfn .dentry .dfile .dline .dopt .dquit .dstart .dstore
syntax keyword nvasm8Directive .dstring .dtable .info .misra .scheck .sfile .source align base
syntax keyword nvasm8Directive bsct clist dc dc.b dc.l dc.w dcb dcb.b dcb.l dcb.w dlist ds ds.b
syntax keyword nvasm8Directive ds.l ds.w else elsec end endc endif endm endr equ even fail fcb
syntax keyword nvasm8Directive fcc fdb funa if ifc ifdef ifeq ifge ifgt ifle iflt ifnc ifndef
syntax keyword nvasm8Directive ifne include irp list lit local macro messg mexit mlist nol
syntax keyword nvasm8Directive nolist nopage offset org page plen repeat repeatl restore rexit
syntax keyword nvasm8Directive rmb save scross section set spc subttl switch tabs title ttl wdef
syntax keyword nvasm8Directive xbit xbit.b xbit.w xdef xref xref.b xref.l xref.w xrefb

syntax case match
syntax keyword nvasm8Register a x y s sp cc xh xl yh yl A X Y S SP CC XH XL YH YL

syntax match nvasm8Function /\v<(low|high|page|phigh|plow|strlen|defined)\ze\(/
syntax match nvasm8Function /\v<(LOW|HIGH|PAGE|PHIGH|PLOW|STRLEN|DEFINED)\ze\(/
syntax match nvasm8Number /\v\$\x+|\@\o+|\%[01]+|<0[xX]\x+>|<\d\x*[hH]>|<\d+[bdqBDQ]?>/
syntax match nvasm8Argument /\v\\(\h\w*|[@*#0-9])/
syntax match nvasm8Label /\v^\s*(\d+\$|[a-zA-Z_.][a-zA-Z0-9_.$]*)\ze\s*:/
syntax region nvasm8String start=/"/ end=/"/ oneline
syntax region nvasm8String start=/'/ end=/'/ oneline
syntax match nvasm8Comment /\v(;|\/\/).*$/ contains=nvasm8Todo
syntax keyword nvasm8Todo contained TODO FIXME XXX

highlight default link nvasm8Mnemonic Statement
highlight default link nvasm8Directive PreProc
highlight default link nvasm8Register Identifier
highlight default link nvasm8Function Function
highlight default link nvasm8Number Number
highlight default link nvasm8Argument Special
highlight default link nvasm8Label Label
highlight default link nvasm8String String
highlight default link nvasm8Comment Comment
highlight default link nvasm8Todo Todo

let b:current_syntax = "nvasm8"
