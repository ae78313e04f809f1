n:      set 0
table:  repeat 200
        dc.w table+n,n*n
n:      set n+1
        endr
        jra table
