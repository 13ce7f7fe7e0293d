<hr>
<!-- the footer of every page -->
<p class="small">Shop &copy; the order desk &nbsp; <a href="javascript:showHelp()">Help</a></p>
</body>
</html>
