        nopp
        ldw x,#nowhere
