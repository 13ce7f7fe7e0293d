<%@ page isErrorPage="true" %>
<%@ include file="header.jsp" %>
<p>The request could not be done: <%= exception.getMessage() %></p>
<%@ include file="footer.jsp" %>
