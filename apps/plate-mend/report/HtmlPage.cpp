#include "report/HtmlPage.h"

namespace plate_mend::host {

const char* const kHtmlTools = R"html(<div class="tools" role="search" hidden>
<label for="find">Find <input id="find" type="search" placeholder="part of a name or folder"></label>
<label for="sort">Sort by <select id="sort"><option value="order">order of work</option><option value="name">name</option><option value="verdict">verdict</option><option value="size">size</option><option value="rows">share without damage</option></select></label>
<div class="views" role="group" aria-label="View"><button type="button" data-view="large" aria-pressed="false">Large</button><button type="button" data-view="compact" aria-pressed="false">Compact</button></div>
<output id="shown" aria-live="polite"></output>
</div>
<main aria-label="Files">
<p id="none" class="none" hidden>No file is shown. Choose another verdict, or empty the field "Find".</p>
)html";

const char* const kHtmlViewer = R"html(<dialog class="viewer" aria-labelledby="viewed">
<header><h2 id="viewed"></h2><span class="badge"></span><span class="place"></span>
<button type="button" data-step="-1" aria-label="Previous file" aria-keyshortcuts="ArrowLeft">&#8592;</button>
<button type="button" data-step="1" aria-label="Next file" aria-keyshortcuts="ArrowRight">&#8594;</button>
<button type="button" class="close" aria-keyshortcuts="Escape">Close</button></header>
<div class="figures"></div>
<div class="about" tabindex="0" role="region" aria-label="About the file"></div>
</dialog>
)html";

} // namespace plate_mend::host
