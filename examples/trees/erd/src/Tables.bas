' The names of the tables of the order desk
Public Const CUSTOMERS = "t_customer"
Public Const ORDERS = "t_order"
Public Function BigOrders() As String
  BigOrders = "SELECT * FROM v_big_orders"
End Function
