; The texts that fields.s looks for.
        xdef    near_text,far_text
neartext: section
near_text: dc.b "0123456789"
fartext: section long
far_text: dc.b  "abcdefghij"
