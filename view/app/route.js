// The address within the page: "#/photos?q=2019&open=ID".

/** {name, id, query, open} of the address as it is. */
export function currentRoute() {
    const [path, parameters] = location.hash.replace(/^#\/?/, '').split('?');
    const [name, id] = path.split('/');
    const values = new URLSearchParams(parameters);
    return {name: name || 'photos', id: id ?? '', query: values.get('q') ?? '', open: values.get('open') ?? ''};
}

export function addressOf({name, id, query, open}) {
    const values = new URLSearchParams();
    if (query)
        values.set('q', query);
    if (open)
        values.set('open', open);
    const text = values.toString();
    return `#/${name}${id ? `/${id}` : ''}${text ? `?${text}` : ''}`;
}
