<%
  ' Head and foot of every page.  The layout needs the settings, and the
  ' settings include the layout: the two include each other.
%>
<!-- #include file="config.asp" -->
<%
Sub pageHead(title)
  Response.Write "<html><head><title>" & title & "</title></head><body>"
End Sub

Sub pageFoot()
  Response.Write "</body></html>"
End Sub
%>
