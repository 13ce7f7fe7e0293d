identification division.
program-id. ordcalc.
*> Prices one order: the net amount, then the tax through TAXRATE.
data division.
working-storage section.
copy "pricing.cpy".
01 ws-rate pic 9v9999.
linkage section.
01 ls-order.
   05 ls-order-no pic 9(8).
   05 ls-total pic s9(9)v99 comp-3.
procedure division using ls-order.
   exec sql
      select sum(p.amount) into :ls-total
        from e_price p
       where p.order_no = :ls-order-no
   end-exec
   call "TAXRATE" using ws-rate
   compute ls-total = ls-total * (1 + ws-rate)
   goback.
entry 'ORDCALC2' using ls-order.
   Display "second entry: no tax"
   goback.
