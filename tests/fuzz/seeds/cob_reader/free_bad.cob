program-id. b.
exec sql select x from y
move 'abc to z.
display "call q"
copy "k.cpy" replacing ==a== by ==b==.
