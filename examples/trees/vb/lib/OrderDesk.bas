Attribute VB_Name = "OrderDesk"
'*************************************************
' The order desk: totals, messages and the printer
'*************************************************
Option Explicit

Dim Orders As Collection
Global DeskName As String
Public Const MAX_LINES = 40

Function LineTotal(qty As Integer, price As Currency) As Currency
  LineTotal = qty * price
End Function

Public Function OrderTotal(o As Object) As Currency
  Dim i As Integer
  For i = 1 To o.Count
    OrderTotal = OrderTotal + LineTotal(o(i).Qty, o(i).Price)
  Next i
End Function

Sub Main()
  Set Orders = New Collection
  ' MsgBox here is only a comment and counts nothing
  MsgBox "Order desk " & DeskName & " is ready", vbInformation
End Sub

Private Sub ShowState(state As Integer)
  Select Case state
    Case 0
      MsgBox "open"
    Case 1, 2
      MsgBox "in work"
    Case "x" ' a string label
      Exit Sub
    Case Else
      MsgBox "unknown state"
  End Select
End Sub

Public Sub PrintOrder(o As Object)
  Dim app As Object
  Set app = CreateObject("Desk.Printer")
  app.Title = "Order of " & o.Customer & _
              " (copy)"
  app.Footer = "a long text that goes on _
over the next line"
  app.Print o
End Sub
