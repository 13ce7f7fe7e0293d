<!-- #INCLUDE VIRTUAL="/inc/config.asp" -->
<!-- #include file="../inc/rights.inc" -->
<!-- #include file="missing.asp" -->
<%
  /* The list of users; only for administrators. */
  If Not isAdmin(Session("user")) Then Response.Redirect "../default.asp"
  Dim users
  Set users = Server.CreateObject("ADODB.Recordset")
  users.Open "SELECT name, role FROM users", connString
%>
<table>
<% Do While Not users.EOF %>
  <tr><td><%= users("name") %></td><td><%= users("role") %></td></tr>
<% users.MoveNext : Loop %>
</table>
