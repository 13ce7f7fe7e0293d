<%@ Language=VBScript %>
<!-- #include file="inc/config.asp" -->
<!-- #include file="inc/layout.asp" -->
<%
  ' The start page: the news of the day and the login box.
  Dim news
  Set news = Server.CreateObject("ADODB.Recordset")
  news.Open "SELECT title FROM news ORDER BY day DESC", connString
%>
<% Call pageHead("Order Desk") %>
<ul>
<% Do While Not news.EOF %>
  <li><%= news("title") %></li>
<%   news.MoveNext
   Loop %>
</ul>
<% Call pageFoot() %>
