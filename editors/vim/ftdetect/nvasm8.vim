" Assembler sources of other processors have the same endings: to take all of a directory for nvasm8's,
" put "let g:nvasm8_sources = 1" into the vimrc. Else a word that only nvasm8 knows decides.
autocmd BufRead,BufNewFile *.s,*.inc call s:Detect()

function! s:Detect() abort
  let l:head = join(getline(1, 200), "\n")
  if get(g:, "nvasm8_sources", 0) || l:head =~? '\v<(xdef|xref|wdef)(\.[bwl])?\s|:\s*section>|nvasm8'
    setlocal filetype=nvasm8 commentstring=;\ %s
  endif
endfunction
