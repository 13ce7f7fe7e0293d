' Sends the invoice of the day by mail
Dim mail
Set mail = CreateObject("CDO.Message")
mail.Subject = "Invoice"
mail.Send
sub Report(text)
  WScript.Echo text
end sub
