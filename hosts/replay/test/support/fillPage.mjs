// Puts a take into the page template, as the command line does.

/// Text as HTML shows it unchanged.
export function escapeHtml(text) {
    const names = {'&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;'};
    return text.replace(/[&<>"']/g, (character) => names[character]);
}

/// The page of `template` that plays the GLB `bytes` under `title`.
export function fillPage(template, bytes, title) {
    const take = typeof bytes === 'string' ? bytes : Buffer.from(bytes).toString('base64');
    // Functions, since a replacement text may hold a $.
    return template.replace('@TITLE@', () => escapeHtml(title)).replace('@TAKE@', () => take);
}
