
file: forms/Customer.bas
Dim CustomerCount As Integer

Public Function NewCustomer(name As String) As Object
  CustomerCount = CustomerCount + 1
  Set NewCustomer = CreateObject("Desk.Customer")
  NewCustomer.Name = name
End Function

file: forms/Invoice.bas
class Invoice
Dim InvoiceCount As Integer

Public Sub SendInvoice(nr As Long)
  Select Case nr
    Case Is < 0
      MsgBox "no invoice"
  End Select
  ExecuteFile "send_invoice.vbs"
End Sub
